// Caches give the results the uncached path gives, stay within their bounds, and the provider
// and the unit system give correct results on several threads at once.

#include "HostTestSupport.h"

#include "host/CExpressionCache.h"
#include "host/CUnitSystem.h"
#include "torvex/platform/NumberText.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace torvex {
namespace {

using hosttest::Evaluate;
using hosttest::Narrow;
using hosttest::Near;

// Cached and uncached providers give bit-equal values and equal statuses, also after the unit
// cache was emptied; a provider with capacity 0 keeps nothing.
TEST(HostCache, CachedAndUncachedResultsAreTheSame) {
    const std::pair<const wchar_t*, const wchar_t*> samples[] = {
        {L"3mm*2", L"mm"},    {L"4mm*2", L"mm"},      {L"3in*2", L"mm"}, {L"3mm*2", L"in"},
        {L"3ul*2", L"ul"},    {L"1.1", L"mm"},        {L"1.0", L"deg"},  {L"90deg+1", L"deg"},
        {L"3mm+2kg", L"mm"},  {L"3mm+2kg", L"mm"},    {L"2^3", L"ul"},   {L"3mm^2", L"mm2"},
        {L"1/0", L"ul"},      {L"foo(2)", L"ul"},     {L"2.5", L"foo"},  {L"3m/2s", L"m/s"},
        {L"sin(30)", L"deg"}, {L"max(1;2in)", L"mm"},
    };
    CUnitsEvaluatorProvider cached;
    CUnitsEvaluatorProvider uncached;
    uncached.SetCacheCapacity(0);
    for (int round = 0; round < 3; ++round) {
        for (const auto& [expression, unit] : samples) {
            auto a = Evaluate(cached, expression, unit);
            auto b = Evaluate(uncached, expression, unit);
            EXPECT_EQ(a.status, b.status) << Narrow(expression);
            if (a.status == 0) {
                EXPECT_EQ(std::memcmp(&a.value, &b.value, sizeof(double)), 0) << Narrow(expression);
            }
        }
        CUnitSystem::Instance().ClearCache();
    }
    EXPECT_EQ(uncached.CacheSize(), 0u);
}

// One compiled form serves every expression of a shape (numbers and blanks aside); another unit
// word, default unit or exponent is another shape; the cache keeps its capacity, evicted shapes
// compile again.
TEST(HostCache, OneCompiledFormServesEveryRowOfAShape) {
    CUnitsEvaluatorProvider provider;
    for (const wchar_t* expression : {L"3mm*2", L"4mm*2.5", L" 5mm * 7 "})
        EXPECT_EQ(Evaluate(provider, expression, L"mm").status, 0);
    EXPECT_EQ(provider.CacheSize(), 1u);
    EXPECT_TRUE(Near(Evaluate(provider, L"6mm*3", L"mm").value, 1.8));
    Evaluate(provider, L"3in*2", L"mm");
    Evaluate(provider, L"3mm*2", L"in");
    Evaluate(provider, L"3mm^2", L"mm2");
    Evaluate(provider, L"3mm^3", L"mm3");
    EXPECT_EQ(provider.CacheSize(), 5u);
    EXPECT_TRUE(Near(Evaluate(provider, L"2mm^3", L"mm3").value, 0.008));

    provider.SetCacheCapacity(3);
    for (const wchar_t* shape : {L"1+1", L"1*1", L"1-1", L"1/1", L"1^1"})
        EXPECT_EQ(Evaluate(provider, shape, L"ul").status, 0);
    EXPECT_EQ(provider.CacheSize(), 3u);
    EXPECT_TRUE(Near(Evaluate(provider, L"2+2", L"ul").value, 4));
    provider.SetCacheCapacity(1);
    EXPECT_EQ(provider.CacheSize(), 1u);
}

// The least recently used shape goes first; inserting a present key replaces it; a cache of
// capacity 0 hands back what it is given.
TEST(HostCache, LeastRecentlyUsedShapeGoesFirst) {
    CExpressionCache cache(2);
    cache.Insert(L"a", std::make_unique<CCompiledExpression>(-1));
    cache.Insert(L"b", std::make_unique<CCompiledExpression>(-2));
    ASSERT_NE(cache.Find(L"a"), nullptr);
    cache.Insert(L"c", std::make_unique<CCompiledExpression>(-3));
    EXPECT_NE(cache.Find(L"a"), nullptr);
    EXPECT_EQ(cache.Find(L"b"), nullptr);
    cache.Insert(L"c", std::make_unique<CCompiledExpression>(-4));
    EXPECT_EQ(cache.Size(), 2u);
    EXPECT_EQ(cache.Find(L"c")->Status(), -4);
    CExpressionCache none(0);
    EXPECT_NE(none.Insert(L"a", std::make_unique<CCompiledExpression>(-1)), nullptr);
    EXPECT_EQ(none.Size(), 0u);
}

// The unit cache keeps its capacity and may be off; units resolve alike either way.
TEST(HostCache, UnitCacheIsBoundedAndOptional) {
    CUnitSystem& units = CUnitSystem::Instance();
    CUnitSystem::Unit first;
    ASSERT_EQ(units.Resolve(L"N/mm2", &first), 0);
    units.SetCacheCapacity(2);
    for (const wchar_t* text : {L"mm", L"in", L"ft", L"kg", L"N/mm2"}) {
        CUnitSystem::Unit unit;
        EXPECT_EQ(units.Resolve(text, &unit), 0);
        EXPECT_LE(units.CacheSize(), 2u);
    }
    units.SetCacheCapacity(0);
    CUnitSystem::Unit again;
    EXPECT_EQ(units.Resolve(L"N/mm2", &again), 0);
    EXPECT_EQ(units.CacheSize(), 0u);
    EXPECT_EQ(again.scale, first.scale);
    EXPECT_TRUE(again.dimension == first.dimension);
    units.SetCacheCapacity(CUnitSystem::kDefaultCacheCapacity);
}

// Each thread evaluates its own unit texts, several of which udunits has to parse while the
// other threads do the same (the unit cache is emptied as they run), on a shared provider and on
// one of its own; every value converts back correctly.
TEST(HostThreads, ConcurrentEvaluationsGiveCorrectResults) {
    const struct {
        const wchar_t* expression;
        const wchar_t* unit;
        const wchar_t* toUnit;
        double expected; // in toUnit
    } jobs[] = {
        {L"3mm*2", L"mm", L"mm", 6},      {L"2in+1", L"in", L"in", 3},
        {L"90deg/2", L"deg", L"deg", 45}, {L"1kg+500g", L"g", L"g", 1500},
        {L"2N*3m", L"Nm", L"N.mm", 6000}, {L"1h+30min", L"min", L"min", 90},
        {L"100", L"MPa", L"N/mm2", 100},  {L"3ft", L"ft", L"in", 36},
    };
    constexpr int kThreads = 6;
    CUnitsEvaluatorProvider shared;
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            CUnitsEvaluatorProvider own;
            for (int round = 0; round < 60; ++round) {
                const auto& job = jobs[(t + round) % std::size(jobs)];
                CUnitsEvaluatorProvider& provider = round % 2 ? shared : own;
                if (round % 10 == t)
                    CUnitSystem::Instance().ClearCache();
                double internal = 0.0;
                WideString internalUnit;
                double value = 0.0;
                if (provider.EvaluateToDouble(job.expression, job.unit, &internal) != 0 ||
                    provider.GetInternalUnit(job.toUnit, &internalUnit) != 0 ||
                    provider.ConvertUnits(platform::FormatGeneral(internal, 17).c_str(),
                                          internalUnit.c_str(), job.toUnit, &value) != 0 ||
                    !Near(value, job.expected))
                    ++failures;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures.load(), 0);
}

} // namespace
} // namespace torvex
