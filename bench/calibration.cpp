// SPDX-License-Identifier: GPL-3.0-or-later
#include <immintrin.h>

#include <string>
#include <vector>

#include "lines.hpp"
#include "shell/console.hpp"

namespace {

volatile double sink; // results go here, so that no loop is dropped
volatile double stepRead = 1e-9, factorRead = 1.0, numeratorRead = 2.385;

constexpr long roundsPerUnit = 1024;
constexpr int nChains = 8; // independent chains that hide the latency of one operation

// A loop over eight chains of vectors that the compiler keeps in registers. STATEMENT(x) does one
// operation on chain x; c is a constant it may not know.
#define EIGHT_CHAINS(NAME, ATTRIBUTE, VECTOR, SET, CONSTANT, STATEMENT)                            \
    ATTRIBUTE void NAME(long count)                                                                \
    {                                                                                              \
        const VECTOR c = SET(CONSTANT);                                                            \
        VECTOR x0 = SET(1.1), x1 = SET(1.2), x2 = SET(1.3), x3 = SET(1.4);                         \
        VECTOR x4 = SET(1.5), x5 = SET(1.6), x6 = SET(1.7), x7 = SET(1.8);                         \
        for (long round = 0; round < count * roundsPerUnit; round++) {                             \
            STATEMENT(x0); STATEMENT(x1); STATEMENT(x2); STATEMENT(x3);                            \
            STATEMENT(x4); STATEMENT(x5); STATEMENT(x6); STATEMENT(x7);                            \
        }                                                                                          \
        const VECTOR sum = ((x0 + x1) + (x2 + x3)) + ((x4 + x5) + (x6 + x7));                      \
        sink = sum[0] + sum[1];                                                                    \
    }

#define WIDE __attribute__((target("avx2")))
#define BASELINE

#define ADD(x) x = x + c
#define MULTIPLY(x) x = x * c
#define WIDE_ROOT(x) x = _mm256_sqrt_pd(x) + c
#define ROOT(x) x = _mm_sqrt_pd(x) + c
#define DIVIDE(x) x = c / x

EIGHT_CHAINS(AddWide, WIDE, __m256d, _mm256_set1_pd, stepRead, ADD)
EIGHT_CHAINS(AddBaseline, BASELINE, __m128d, _mm_set1_pd, stepRead, ADD)
EIGHT_CHAINS(MultiplyWide, WIDE, __m256d, _mm256_set1_pd, factorRead, MULTIPLY)
EIGHT_CHAINS(MultiplyBaseline, BASELINE, __m128d, _mm_set1_pd, factorRead, MULTIPLY)
EIGHT_CHAINS(RootWide, WIDE, __m256d, _mm256_set1_pd, numeratorRead, WIDE_ROOT)
EIGHT_CHAINS(RootBaseline, BASELINE, __m128d, _mm_set1_pd, numeratorRead, ROOT)
EIGHT_CHAINS(DivideWide, WIDE, __m256d, _mm256_set1_pd, numeratorRead, DIVIDE)
EIGHT_CHAINS(DivideBaseline, BASELINE, __m128d, _mm_set1_pd, numeratorRead, DIVIDE)

// Each addition waits for the one before: what a sum in a stated order costs.
void AddInOneChain(long count)
{
    const double step = stepRead;
    double sum = 1.0;
    for (long round = 0; round < count * roundsPerUnit; round++) sum += step;
    sink = sum;
}

// Sums a block; the additions are fewer than the loads can feed.
WIDE double ReadWide(const double* block, std::size_t n)
{
    __m256d a = _mm256_setzero_pd(), b = a, c = a, d = a;
    for (std::size_t i = 0; i + 16 <= n; i += 16) {
        a = a + _mm256_loadu_pd(block + i);
        b = b + _mm256_loadu_pd(block + i + 4);
        c = c + _mm256_loadu_pd(block + i + 8);
        d = d + _mm256_loadu_pd(block + i + 12);
    }
    const __m256d sum = (a + b) + (c + d);
    return sum[0] + sum[3];
}

double ReadBaseline(const double* block, std::size_t n)
{
    __m128d a = _mm_setzero_pd(), b = a, c = a, d = a;
    for (std::size_t i = 0; i + 8 <= n; i += 8) {
        a = a + _mm_loadu_pd(block + i);
        b = b + _mm_loadu_pd(block + i + 2);
        c = c + _mm_loadu_pd(block + i + 4);
        d = d + _mm_loadu_pd(block + i + 6);
    }
    const __m128d sum = (a + b) + (c + d);
    return sum[0] + sum[1];
}

void ArithmeticLines(const Options& options, Report& report, bool wide)
{
    struct Operation { const char* what; void (*loop)(long); double* rate; bool isRate; };
    const Operation operations[] = {
        {"independent adds", wide ? AddWide : AddBaseline, &report.rates.add, true},
        {"independent multiplications", wide ? MultiplyWide : MultiplyBaseline,
         &report.rates.multiplication, true},
        {"square roots", wide ? RootWide : RootBaseline, &report.rates.root, false},
        {"divisions", wide ? DivideWide : DivideBaseline, &report.rates.division, false},
    };
    const double perUnit = static_cast<double>(roundsPerUnit) * nChains * (wide ? 4 : 2);
    for (const Operation& operation : operations) {
        *operation.rate = TimeInTurn(options, {}, operation.loop).fast / perUnit;
        if (!options.Wants("C1")) continue;
        if (operation.isRate)
            report.Value("C1", operation.what, "GFLOP/s", 1e-9 / *operation.rate);
        else
            report.Value("C1", operation.what, "ns", 1e9 * *operation.rate);
    }
    if (!options.Wants("C1")) return;
    const double chained = TimeInTurn(options, {}, AddInOneChain).fast / roundsPerUnit;
    report.Value("C1", "adds in one chain", "ns", 1e9 * chained);
}

void BandwidthLines(const Options& options, Report& report, bool wide)
{
    struct Size { const char* what; std::size_t bytes; };
    const Size sizes[] = {{"read 24 KB", 24u << 10}, {"read 256 KB", 256u << 10},
                          {"read 8 MB", 8u << 20}, {"read 256 MB", 256u << 20}};
    for (const Size& size : sizes) {
        const std::vector<double> block(size.bytes / sizeof(double), 1.0);
        const Work work = [&block, wide](long count) {
            for (long i = 0; i < count; i++)
                sink = wide ? ReadWide(block.data(), block.size())
                            : ReadBaseline(block.data(), block.size());
        };
        const double seconds = TimeInTurn(options, {}, work).fast;
        report.Value("C2", size.what, "GB/s", 1e-9 * static_cast<double>(size.bytes) / seconds);
    }
}

} // namespace

void CalibrationLines(const Options& given, Report& report)
{
    Options options = given;
    options.seconds /= 4.0; // steady loops need less
    const bool wide = options.path != "baseline";
    ArithmeticLines(options, report, wide); // the floors of other lines rest on it
    if (options.Wants("C2")) BandwidthLines(options, report, wide);
}

void TerminalLines(const Options& options, Report& report)
{
    if (!options.Wants("O1")) return;
    InitIFLibG();
    Timed timed;
    {
        const DrainedOutput drained;
        timed = TimeInTurn(options, {}, [](long count) {
            for (long i = 0; i < count; i++) {
                console.t2 -= 5; // as if the last line were old enough: each one is printed
                HandleEventInfoWhere2("Permutation test: 5000 of 9999");
            }
        });
    }
    report.Value("O1", "progress line to a pipe", "us/line", 1e6 * timed.fast);
}
