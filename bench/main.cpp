// SPDX-License-Identifier: GPL-3.0-or-later
// The benchmark: the plain form of each hot part against the program's form of it, in the same run.
// Status 1 if any pair of results differs in a single byte, or if an estimate is farther from the
// plain form than its own bound.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gsl/gsl_errno.h>
#include <omp.h>
#include <unistd.h>

#include "numeric/vectorpath.hpp"
#include "lines.hpp"

namespace {

const char* const usage =
    "kelpra_bench [--quick] [--only LINE] [--threads N] [--path baseline|avx2|avx512] [--json]\n"
    "  --quick    about 10 seconds instead of two minutes\n"
    "  --only     one line (P1) or family (P)\n"
    "  --threads  threads of the P lines; 1 if not given\n"
    "  --path     vector instructions of the permutation test; the machine's best if not given\n"
    "  --json     an array of objects instead of the table\n";

[[noreturn]] void Complain()
{
    std::fputs(usage, stderr);
    std::exit(2);
}

Options ReadOptions(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; i++) {
        const std::string word = argv[i];
        const bool hasValue = i + 1 < argc;
        if (word == "--quick") options.quick = true;
        else if (word == "--json") options.json = true;
        else if (word == "--only" && hasValue) options.only = argv[++i];
        else if (word == "--threads" && hasValue) options.threads = std::atoi(argv[++i]);
        else if (word == "--path" && hasValue) options.path = argv[++i];
        else Complain();
    }
    if (options.threads < 1) Complain();
    if (options.quick) {
        options.repetitions = 2;
        options.seconds = 0.02;
    }
    return options;
}

void TakePath(Options& options)
{
    if (!ChoosePath(options.path.empty() ? nullptr : options.path.c_str())) {
        std::fprintf(stderr, "this machine cannot run %s\n", options.path.c_str());
        std::exit(2);
    }
    options.path = PathName(ActivePath());
}

} // namespace

int main(int argc, char** argv)
{
    gsl_set_error_handler_off(); // as the program does at its start
    Options options = ReadOptions(argc, argv);
    TakePath(options);
    omp_set_num_threads(options.threads);

    Report report(options.json, fdopen(dup(STDOUT_FILENO), "w"));
    report.Comment("compiler " __VERSION__);
    report.Comment("flags " KELPRA_BENCH_FLAGS);
    report.Comment("vector path " + options.path);
    report.Comment("threads " + std::to_string(options.threads) + " of " +
                   std::to_string(omp_get_num_procs()));
    report.Head();
    CalibrationLines(options, report);
    TerminalLines(options, report);
    KernelLines(options, report);
    PermutationLines(options, report);
    WholeTestLines(options, report);
    ScaleLines(options, report);
    SubsetLines(options, report);
    SimulationLines(options, report);
    DialogueLines(options, report);
    report.End();
    return report.anyDifference ? 1 : 0;
}
