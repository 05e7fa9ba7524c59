// SPDX-License-Identifier: GPL-3.0-or-later
// R3: a whole functional analysis as a user runs it, with the answers piped in.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <omp.h>

#include "lines.hpp"
#include "permtest_data.hpp"

namespace {

namespace files = std::filesystem;

// Numbers, then a line of labels: a letter and a count.
void WriteMatrix(const files::path& path, int rows, int columns, double** M, char letter,
                 int nLabels)
{
    std::FILE* file = std::fopen(path.c_str(), "w");
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < columns; j++)
            std::fprintf(file, "%.17g%c", M[i][j], j + 1 < columns ? '\t' : '\n');
    for (int j = 1; j <= nLabels; j++) std::fprintf(file, "%c%d\t", letter, j);
    std::fprintf(file, "\n");
    std::fclose(file);
}

void WriteSession(const files::path& folder, int nIter)
{
    auto data = MakePermTestData(smallShape);
    WriteMatrix(folder / "B.txt", data->s, data->t, data->rawB, 'T', data->t);
    WriteMatrix(folder / "W.txt", data->n, data->s, data->W, 'C', data->n);
    WriteMatrix(folder / "E.txt", data->n, data->e, data->E, 'V', data->e);
    std::FILE* types = std::fopen((folder / "types.txt").c_str(), "w");
    std::FILE* species = std::fopen((folder / "species.txt").c_str(), "w");
    for (int i = 0; i < data->s; i++) {
        std::fprintf(types, "%d\n", data->partition[i]);
        std::fprintf(species, "Species %d\n", i + 1);
    }
    std::fclose(types);
    std::fclose(species);

    std::FILE* answers = std::fopen((folder / "answers.txt").c_str(), "w");
    std::fprintf(answers,
                 // a new session from raw matrices, no phylogeny
                 "N\nbench\n1\nB.txt\n0\nW.txt\n1\nspecies.txt\n1\nE.txt\n"
                 "%d\n%d\n2\n2\nk\n3 3 3 3 3 3 3 3\ny\n0\n%d\n2\n1\n2\n%d\n2\n2\nN\n"
                 // fuzzy types from a file, matrix correlation, taxa move
                 "V\nH\nn\nf\ntypes.txt\n1\ny\n%d\nt\n0\n2\n1\n1\n6\n1\n1\n1\ny\nn\nC\nC\nX\n",
                 data->s, data->t, data->n, data->e, nIter);
    std::fclose(answers);
}

// Seconds of one run of the program; negative if it did not leave a report.
double RunProgram(const files::path& folder)
{
    // A script that stops short would wait for ever at its end, so time is limited.
    const std::string command = "cd '" + folder.string() +
                                "' && timeout 60 '" KELPRA_PROGRAM "' < answers.txt 2>&1 | cat "
                                "> /dev/null";
    for (const char* left : {"benchTrk.txt", "benchFormda.txt", "benchPrinda.txt"})
        files::remove(folder / left);
    const double start = Now();
    const int status = std::system(command.c_str());
    const double seconds = Now() - start;
    const files::path report = folder / "benchPrinda.txt";
    const bool done = status == 0 && files::exists(report) && files::file_size(report) > 1000;
    return done ? seconds : -1.0;
}

} // namespace

void DialogueLines(const Options& options, Report& report)
{
    if (!options.Wants("R3")) return;
    const int nIter = options.quick ? 999 : 9999;
    const Scratch with, without; // without: a single iteration, all but the test
    WriteSession(with.path, nIter);
    WriteSession(without.path, 1);
    Timed timed;
    double rest = -1.0;
    for (int repetition = 0; repetition < options.repetitions; repetition++) {
        const double all = RunProgram(with.path), outside = RunProgram(without.path);
        if (all < 0.0 || outside < 0.0) {
            std::fprintf(stderr, "R3: the program left no report\n");
            report.anyDifference = true;
            return;
        }
        if (timed.fast < 0.0 || all < timed.fast) timed.fast = all;
        if (rest < 0.0 || outside < rest) rest = outside;
    }
    report.Line("R3", "small", "analysis by dialogue, " + std::to_string(nIter), "s", 1.0,
                omp_get_num_procs(), timed);
    report.Value("R3", "share outside the test", "1", rest / timed.fast);
}
