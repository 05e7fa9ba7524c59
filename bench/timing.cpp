// SPDX-License-Identifier: GPL-3.0-or-later
#include "timing.hpp"

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr long slowUnits = 8; // of a plain form that takes longer than a repetition should

std::string Number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
}

double SecondsFor(const Work& work, long count)
{
    const double start = Now();
    work(count);
    return Now() - start;
}

// One of the two forms of a line.
struct Form {
    explicit Form(const Work& what) : work(what) {}

    // Finds by doubling how many units fill a repetition: at least 8 if one takes long.
    void FindCount(double seconds)
    {
        for (count = 1;; count *= 2) {
            const double taken = SecondsFor(work, count);
            if (taken < seconds / 20.0) continue;
            const double perUnit = taken / static_cast<double>(count);
            count = static_cast<long>(seconds / perUnit) + 1;
            if (count < slowUnits) count = slowUnits;
            return;
        }
    }
    void Repeat()
    {
        const double before = SecondsFor(work, 0);
        const double taken = (SecondsFor(work, count) - before) / static_cast<double>(count);
        if (best < 0.0 || taken < best) best = taken;
    }

    const Work& work;
    long count = 0;
    double best = -1.0;
};

const char* const columns[] = {"line", "data", "what", "unit", "threads", "plain", "fast",
                               "ratio", "adds", "multiplications", "roots", "divisions", "floor",
                               "share"};

} // namespace

bool Options::Wants(const std::string& id) const
{
    return only.empty() || id.compare(0, only.size(), only) == 0;
}

double Now()
{
    using Clock = std::chrono::steady_clock;
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

Timed TimeInTurn(const Options& options, const Work& plain, const Work& fast)
{
    Form forms[] = {Form(plain), Form(fast)};
    for (Form& form : forms)
        if (form.work) form.FindCount(options.seconds);
    for (int repetition = 0; repetition < options.repetitions; repetition++)
        for (Form& form : forms)
            if (form.work) form.Repeat();
    return {forms[0].best, forms[1].best};
}

double TimeWhole(const Options& options, const std::function<void()>& run)
{
    double best = -1.0;
    for (int repetition = 0; repetition < options.repetitions; repetition++) {
        const double start = Now();
        run();
        const double taken = Now() - start;
        if (best < 0.0 || taken < best) best = taken;
    }
    return best;
}

void Report::Comment(const std::string& text)
{
    if (!json) std::fprintf(out, "# %s\n", text.c_str());
}

void Report::Head()
{
    if (json) {
        std::fprintf(out, "[");
        return;
    }
    std::size_t j = 0;
    for (const char* column : columns)
        std::fprintf(out, "%s%s", j++ == 0 ? "" : "\t", column);
    std::fprintf(out, "\n");
}

void Report::Row(const std::vector<std::string>& cells)
{
    if (json) std::fprintf(out, first ? "\n{" : ",\n{");
    bool firstCell = true;
    for (std::size_t j = 0; j < cells.size(); j++) {
        if (!json) {
            std::fprintf(out, "%s%s", j == 0 ? "" : "\t", cells[j].c_str());
            continue;
        }
        if (cells[j].empty()) continue;
        const char* quote = j < 4 ? "\"" : "";
        std::fprintf(out, "%s\"%s\": %s%s%s", firstCell ? "" : ", ", columns[j], quote,
                     cells[j].c_str(), quote);
        firstCell = false;
    }
    std::fprintf(out, json ? "}" : "\n");
    std::fflush(out);
    first = false;
}

void Report::Line(const std::string& id, const std::string& data, const std::string& what,
                  const std::string& unit, double scale, int threads, const Timed& timed,
                  const Operations* operations)
{
    const bool both = timed.plain >= 0.0 && timed.fast >= 0.0;
    std::vector<std::string> cells = {id, data, what, unit, std::to_string(threads)};
    cells.push_back(timed.plain < 0.0 ? "" : Number(timed.plain * scale));
    cells.push_back(timed.fast < 0.0 ? "" : Number(timed.fast * scale));
    cells.push_back(both ? Number(timed.plain / timed.fast) : "");
    if (operations != nullptr) {
        const double floor = std::max({operations->adds * rates.add,
                                       operations->multiplications * rates.multiplication,
                                       operations->roots * rates.root +
                                           operations->divisions * rates.division});
        for (double count : {operations->adds, operations->multiplications, operations->roots,
                             operations->divisions})
            cells.push_back(Number(count));
        cells.push_back(Number(floor * scale));
        cells.push_back(timed.fast > 0.0 ? Number(floor / timed.fast) : "");
    }
    Row(cells);
}

void Report::Value(const std::string& id, const std::string& what, const std::string& unit,
                   double value)
{
    Row({id, "", what, unit, "1", "", Number(value)});
}

void Report::Same(const std::string& id, const std::string& data, bool same)
{
    if (same) return;
    anyDifference = true;
    std::fprintf(stderr, "%s, %s: plain and fast forms differ\n", id.c_str(), data.c_str());
}

void Report::End()
{
    if (json) std::fprintf(out, "\n]\n");
}

DrainedOutput::DrainedOutput() : saved(dup(STDOUT_FILENO)), reader(0)
{
    std::fflush(stdout);
    int ends[2];
    if (pipe(ends) != 0) std::exit(2);
    reader = fork();
    if (reader == 0) {
        close(ends[1]);
        close(saved);
        char block[65536];
        while (read(ends[0], block, sizeof block) > 0) {
        }
        _exit(0);
    }
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
}

DrainedOutput::~DrainedOutput()
{
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    waitpid(static_cast<pid_t>(reader), nullptr, 0);
}
