// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/rawfile.hpp"

#include "session/session.hpp"
#include "shell/complaint.hpp"
#include "shell/console.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"

std::FILE* ReadDataFileName(char* name)
{
    for (;;) {
        std::fprintf(console.out, "Enter data file name: ");
        ReadLineIn(name, fileNameLength);
        std::FILE* opened = fopenck(name, nullptr, "r");
        if (opened != nullptr) return opened;
    }
}

bool RawFile::ReadCell(double& cell) { return freadck1(*stream, cell, name); }

void RawFile::ReadLabels(int n, char** labels)
{
    NumberLabels(n, labels, labelSize);
    for (int i = 0; i < n; i++)
        if (!freadck1Word(*stream, labels[i], labelSize, name)) return;
}

void RawFile::Finish()
{
    const bool hasMore = HasNumberLeft(*stream);
    CheckPlainText(*stream, name);
    stream->Close();
    if (hasMore) Complain("numbers left over in file %s: check the counts\n", name);
}

bool AskLabelsInFile(const RawFile& file, const char* heading, const char* byDefault)
{
    std::fprintf(console.out, "%s", heading);
    std::fprintf(console.out, "%s", byDefault);
    std::fprintf(console.out, "   2  read labels at the end of file %s\n", file.name);
    std::fprintf(console.out, "Type option no.: ");
    return AskOption("1 2") == 2;
}
