// SPDX-License-Identifier: GPL-3.0-or-later
// How the benchmark measures and reports: wall clock, plain and fast forms in turn, the minimum of
// the repetitions of each.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// What the command line asks for.
struct Options {
    bool quick = false;    // about 10 seconds in all
    std::string only;      // a line, or the first letters of a family of lines
    int threads = 1;       // of the P lines
    std::string path;      // "baseline", "avx2", "avx512"; empty: what the machine has
    bool json = false;
    int repetitions = 5;
    double seconds = 0.2;  // of a repetition, at least

    /// True if the line is asked for.
    bool Wants(const std::string& id) const;
};

/// Does its work `count` times; 0 times is what has to be done before the first, which is timed
/// too and taken off.
using Work = std::function<void(long count)>;

/// Seconds per unit of work, the best repetition; negative if there is no such form.
struct Timed {
    double plain = -1.0;
    double fast = -1.0;
};

double Now(); // seconds, monotonic

/// Times both forms in turn. Either may be empty. A repetition lasts at least the time the options
/// say, and does 8 units at least.
Timed TimeInTurn(const Options& options, const Work& plain, const Work& fast);
/// Seconds of a whole run, the best repetition.
double TimeWhole(const Options& options, const std::function<void()>& run);

/// Operations of one unit of work, and the least time that they take on this machine.
struct Operations {
    double adds = 0.0, multiplications = 0.0, roots = 0.0, divisions = 0.0;
};

/// Seconds for one operation, measured at the start; 0 as long as nothing is measured.
struct Rates {
    double add = 0.0, multiplication = 0.0, root = 0.0, division = 0.0;
};

/// The table of results, tab-separated or as JSON. Values of a line print as they come.
class Report
{
public:
    Report(bool asJson, std::FILE* to) : json(asJson), out(to) {}
    void Comment(const std::string& text);
    void Head();
    /// One line; `scale` turns seconds into the unit, `threads` are those of the fast form.
    void Line(const std::string& id, const std::string& data, const std::string& what,
              const std::string& unit, double scale, int threads, const Timed& timed,
              const Operations* operations = nullptr);
    /// A line of one number that is no time to compare.
    void Value(const std::string& id, const std::string& what, const std::string& unit,
               double value);
    /// Tells whether plain and fast forms gave the same bytes; remembers that one did not.
    void Same(const std::string& id, const std::string& data, bool same);
    void End();

    bool anyDifference = false;
    Rates rates;

private:
    void Row(const std::vector<std::string>& cells);
    const bool json;
    bool first = true;
    std::FILE* const out;
};

/// A folder that is gone with this.
struct Scratch {
    Scratch()
    {
        std::string name =
            (std::filesystem::temp_directory_path() / "kelpra-bench-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) std::exit(2);
        path = name;
    }
    ~Scratch() { std::filesystem::remove_all(path); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    std::filesystem::path path;
};

/// Standard output goes to a pipe that someone reads, as a terminal would, while this lives.
class DrainedOutput
{
public:
    DrainedOutput();
    ~DrainedOutput();
    DrainedOutput(const DrainedOutput&) = delete;
    DrainedOutput& operator=(const DrainedOutput&) = delete;

private:
    int saved;
    long reader; // process id
};
