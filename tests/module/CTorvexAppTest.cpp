#include "torvex/module/CTorvexApp.h"

#include <gtest/gtest.h>

namespace torvex {
namespace {

// One application object per loaded library; InitInstance answers 1.
TEST(CTorvexApp, OneObjectPerLoadedLibraryAnswersOne) {
    CTorvexApp& app = CTorvexApp::Instance();
    EXPECT_EQ(&app, &CTorvexApp::Instance());
    EXPECT_EQ(app.InitInstance(), 1);
}

} // namespace
} // namespace torvex
