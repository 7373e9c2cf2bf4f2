#include "torvex/module/CTorvexApp.h"

#include <gtest/gtest.h>

namespace torvex {
namespace {

TEST(CTorvexApp, OneObjectPerLoadedLibraryAnswersOne) {
    CTorvexApp& app = CTorvexApp::Instance();
    EXPECT_EQ(&app, &CTorvexApp::Instance());
    EXPECT_EQ(app.InitInstance(), 1);
}

} // namespace
} // namespace torvex
