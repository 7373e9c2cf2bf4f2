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
#include "torvex/evaluation/CRangeParser.h"
#include "torvex/evaluation/CTableEvaluator.h"
#include "torvex/evaluation/IEvaluatorProvider.h"
#include "torvex/family/CEncapConstFamilyColumn.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyColIPropertyData.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/CStringMapTo.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/mapping/CEncapFamilyMapping.h"
