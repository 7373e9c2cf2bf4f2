#include <host/CUnitsEvaluatorProvider.h>
#include <torvex/torvex.h>

#include <cstdio>
#include <memory>

int main() {
    torvex::CUnitsEvaluatorProvider provider;
    double value = 0;
    // 3 mm twice is 0.6 in the internal length unit, cm.
    if (provider.EvaluateToDouble(L"3mm*2", L"mm", &value) < 0 || value < 0.59 || value > 0.61)
        return 1;
    std::puts("torvex host consumer ok");
    return 0;
}
