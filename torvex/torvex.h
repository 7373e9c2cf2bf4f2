#pragma once
// Torvex: the data model of a catalogue of standard parts. This header includes every exported
// class of the library.

#include "torvex/module/CTorvexApp.h"
#include "torvex/text/CStringUtil.h"
#include "torvex/text/DataTypes.h"
#include "torvex/xml/ComError.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XMLParser.h"
