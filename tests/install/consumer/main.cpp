#include <torvex/torvex.h>

#include <cstdio>

int main() {
    // Touch the exported classes so that linking proves they are in the library.
    if (torvex::CTorvexApp::Instance().InitInstance() != 1)
        return 1;
    std::puts("torvex consumer ok");
    return 0;
}
