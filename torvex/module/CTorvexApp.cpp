#include "torvex/module/CTorvexApp.h"

namespace torvex {
namespace {
// Constructed when the shared library is loaded, destroyed when it is unloaded.
CTorvexApp theApp;
} // namespace

int CTorvexApp::InitInstance() {
    return 1;
}

CTorvexApp& CTorvexApp::Instance() {
    return theApp;
}

} // namespace torvex
