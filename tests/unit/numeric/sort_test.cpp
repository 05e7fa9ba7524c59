#include "numeric/sort.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "shell/arrays.hpp"
#include "unit/numeric/tables.hpp"

namespace {

using Values = std::vector<double>; // cell 0 unused: the routines count from 1

/// The published steps once more, in one piece and without the helpers of the program: the order
/// of ties must agree with them.
void PlainSort(long n, double* a, double* b)
{
    std::vector<std::pair<long, long>> waiting;
    long l = 1;
    long ir = n;
    const auto exchange = [&](long i, long j) {
        const double va = a[i], vb = b[i];
        a[i] = a[j], b[i] = b[j];
        a[j] = va, b[j] = vb;
    };
    while (true) {
        if (ir - l < 7) {
            for (long j = l + 1; j <= ir; j++) {
                const double va = a[j], vb = b[j];
                long i = j - 1;
                while (i >= 1 && a[i] > va) {
                    a[i + 1] = a[i], b[i + 1] = b[i];
                    i--;
                }
                a[i + 1] = va, b[i + 1] = vb;
            }
            if (waiting.empty()) return;
            l = waiting.back().first;
            ir = waiting.back().second;
            waiting.pop_back();
        } else {
            exchange((l + ir) / 2, l + 1);
            if (a[l + 1] > a[ir]) exchange(l + 1, ir);
            if (a[l] > a[ir]) exchange(l, ir);
            if (a[l + 1] > a[l]) exchange(l + 1, l);
            long i = l + 1;
            long j = ir;
            const double pivot = a[l], companion = b[l];
            while (true) {
                for (i++; a[i] < pivot; i++) {}
                for (j--; a[j] > pivot; j--) {}
                if (j < i) break;
                exchange(i, j);
            }
            a[l] = a[j], a[j] = pivot;
            b[l] = b[j], b[j] = companion;
            if (ir - i + 1 >= j - l) {
                waiting.emplace_back(i, ir);
                ir = j - 1;
            } else {
                waiting.emplace_back(l, j - 1);
                l = i;
            }
        }
    }
}

Values Positions(std::size_t n)
{
    Values positions(n + 1);
    for (std::size_t i = 0; i <= n; i++) positions[i] = static_cast<double>(i);
    return positions;
}

} // namespace

TEST_CASE("sort2 leaves ties where its steps leave them")
{
    std::mt19937 engine(7);
    for (const std::size_t n : {1u, 2u, 7u, 8u, 9u, 20u, 200u, 5000u})
        for (const unsigned nValues : {1u, 2u, 5u, 1000000u}) {
            CAPTURE(n);
            CAPTURE(nValues);
            Values a(n + 1);
            for (double& x : a) x = static_cast<double>(engine() % nValues);
            const Values input = a;
            Values b = Positions(n);
            Values plainA = a;
            Values plainB = b;
            sort2(n, a.data(), b.data());
            PlainSort(static_cast<long>(n), plainA.data(), plainB.data());
            CHECK(a == plainA);
            CHECK(b == plainB);
            CHECK(std::is_sorted(a.begin() + 1, a.end()));
            for (std::size_t i = 1; i <= n; i++)
                CHECK(a[i] == input[static_cast<std::size_t>(b[i])]);
        }
}

TEST_CASE("sort2 of eight equal values")
{
    Values a(9, 2.385);
    Values b = Positions(8);
    sort2(8, a.data(), b.data());
    // By hand: cells 4 and 2 change places, then 3 and 7, 4 and 6, and the pivot goes to cell 4.
    CHECK(b == Values{0, 6, 4, 7, 1, 5, 2, 3, 8});

    Values shorter(8, 2.385); // seven are sorted by insertion, which moves no equal value
    b = Positions(7);
    sort2(7, shorter.data(), b.data());
    CHECK(b == Positions(7));
}

TEST_CASE("sort2 ends with NaN among the values")
{
    std::mt19937 engine(11);
    for (std::size_t n = 8; n < 200; n++) {
        Values a(n + 1);
        for (double& x : a)
            x = engine() % 3 == 0 ? std::numeric_limits<double>::quiet_NaN()
                                  : static_cast<double>(engine() % 9);
        Values b = Positions(n);
        sort2(n, a.data(), b.data());
        std::sort(b.begin(), b.end()); // nothing is lost or doubled
        REQUIRE(b == Positions(n));
    }
}

TEST_CASE("sort2 without room for its stack ends the process")
{
    const tables::Ending ending = tables::EndingOf([] {
        Values a{0, 2, 1};
        Values b{0, 1, 2};
        FailAllocation(1);
        sort2(2, a.data(), b.data());
    });
    REQUIRE(WIFEXITED(ending.status));
    CHECK(WEXITSTATUS(ending.status) == 1);
    // First of all: a sanitizer may add words of its own when the child ends.
    CHECK(ending.complaint.find("allocation failure in ivector()\n"
                                "Sorry, you have to quit and restart the program.\n") == 0);
}

TEST_CASE("crank")
{
    struct Case {
        const char* fact;
        Values sorted, ranks;
        double ties;
    };
    const Case cases[] = {
        // by hand; R 4.2: rank(c(1, 1, 2))
        {"a pair", {0, 1, 1, 2}, {0, 1.5, 1.5, 3}, 6},
        {"ties at the end", {0, 1, 4, 4, 4}, {0, 1, 3, 3, 3}, 24},
        {"two groups", {0, 2, 2, 5, 7, 7, 7, 7}, {0, 1.5, 1.5, 3, 5.5, 5.5, 5.5, 5.5}, 66},
        {"no ties", {0, -1, 0, 9}, {0, 1, 2, 3}, 0},
        {"one value", {0, 2.385}, {0, 1}, 0},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Values w = c.sorted;
        double s = -1;
        crank(w.size() - 1, w.data(), &s);
        CHECK(w == c.ranks);
        CHECK(s == c.ties);
    }
}

TEST_CASE("compareInt and swap")
{
    const int lowest = std::numeric_limits<int>::min();
    const int highest = std::numeric_limits<int>::max();
    const int three = 3;
    const int five = 5;
    CHECK(compareInt(&three, &five) == -2);
    CHECK(compareInt(&five, &three) == 2);
    CHECK(compareInt(&five, &five) == 0);
    CHECK(compareInt(&highest, &lowest) > 0); // the difference doesn't fit an int
    CHECK(compareInt(&lowest, &highest) < 0);

    int first = 1, second = 2, third = 3;
    void* pointers[] = {&first, &second, &third};
    swap(pointers, 0, 2);
    CHECK(pointers[0] == &third);
    CHECK(pointers[1] == &second);
    CHECK(pointers[2] == &first);
}
