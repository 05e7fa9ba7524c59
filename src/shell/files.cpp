#include "shell/files.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "shell/complaint.hpp"

int InputStream::Get()
{
    if (!givenBack.empty()) {
        const char last = givenBack.back();
        givenBack.pop_back();
        return static_cast<unsigned char>(last);
    }
    if (file == nullptr) return EOF;
    // A prompt without a line end must stand on the screen before its answer is waited for.
    if (file == stdin) std::fflush(stdout);
    return getc_unlocked(file);
}

void InputStream::Unget(int character)
{
    if (character != EOF) givenBack.push_back(static_cast<char>(character));
}

void InputStream::Close()
{
    if (file != nullptr && file != stdin) std::fclose(file);
    file = nullptr;
    givenBack.clear();
}

InputStream& StandardInput()
{
    static InputStream standardInput(stdin);
    return standardInput;
}

std::FILE* OpenFile(const char* path, const char* mode)
{
    std::FILE* opened = std::fopen(path, mode);
    struct stat status = {};
    if (opened != nullptr && fstat(fileno(opened), &status) == 0 && S_ISDIR(status.st_mode)) {
        std::fclose(opened);
        opened = nullptr;
    }
    return opened;
}

std::FILE* fopenck(const char* name, const char* prefix, const char* mode)
{
    const std::string path = std::string(prefix == nullptr ? "" : prefix) + name;
    std::FILE* opened = OpenFile(path.c_str(), mode);
    if (opened == nullptr) {
        Complain("\ncan't open %s \n", path.c_str());
        Bell();
    }
    return opened;
}

void Patience::Pause()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    milliseconds = std::min(1000L, milliseconds * 2);
}
