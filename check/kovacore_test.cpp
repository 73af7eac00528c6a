// Support functions of the test cases: file comparison, file dump and
// random text.
#include "kovacore_test.h"

#include "internal/internal.hpp"
#include "internal/report.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <syslog.h>

namespace {

using velkc::UniqueFile;

// A getline buffer released on scope exit.
struct LineBuffer {
    char *data = nullptr;
    size_t size = 0;
    LineBuffer() = default;
    LineBuffer(const LineBuffer &) = delete;
    LineBuffer &operator=(const LineBuffer &) = delete;
    ~LineBuffer() { std::free(data); }
    ssize_t read(std::FILE *f) { return getline(&data, &size, f); }
};

void CutAtNewline(char *line)
{
    if (char *nl = std::strchr(line, '\n')) {
        *nl = '\0';
    }
}

// Compares the file's lines with expected, skipping '#' lines when asked.
int CompareFile(const char *path, const char **expected, bool skipComments)
{
    if (path == nullptr || expected == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    UniqueFile file(std::fopen(path, "r"));
    if (!file) {
        VELKC_SET_ERR(ERR_OPEN_FAILED);
        return -1;
    }
    LineBuffer line;
    int index = 0;
    while (line.read(file.get()) != -1) {
        if (skipComments && line.data[0] == '#') {
            continue;
        }
        if (expected[index] == nullptr) {
            break; // the file has more lines than expected
        }
        CutAtNewline(line.data);
        if (std::strcmp(line.data, expected[index]) != 0) {
            std::printf("szBuf[%s] != Line[%d]:[%s]\n", line.data, index, expected[index]);
            syslog(LOG_ERR, "szBuf[%s] != Line[%d]:[%s]\n", line.data, index, expected[index]);
            VELKC_SET_ERR(ERR_OPERATION_FAILED);
            return -1;
        }
        ++index;
    }
    if (std::feof(file.get()) && expected[index] == nullptr) {
        return 0;
    }
    VELKC_SET_ERR(ERR_READ_FAILED);
    return -1;
}

} // namespace

extern "C" {

int CheckFileWithGetline(const char *path, const char **expected) { return CompareFile(path, expected, true); }

int CheckFileWithGetlineIgnoreComment(const char *path, const char **expected)
{
    return CompareFile(path, expected, false);
}

void showFile(const char *path)
{
    UniqueFile file(std::fopen(path, "r"));
    if (!file) {
        VELKC_SET_ERR(ERR_OPEN_FAILED);
        return;
    }
    std::printf("^---[%s]---\n", path);
    LineBuffer line;
    while (line.read(file.get()) != -1) {
        CutAtNewline(line.data);
        std::printf("%s|\n", line.data);
    }
    std::printf("$---[%s]---\n", path);
}

char *RandomTextGen(void)
{
    const int length = std::rand() % 512 + 1;
    char *text = static_cast<char *>(std::malloc(length + 1));
    if (text == nullptr) {
        return nullptr;
    }
    for (int i = 0; i < length; ++i) {
        text[i] = static_cast<char>(std::rand() % 96 + ' ');
    }
    text[length] = '\0';
    return text;
}

void RandomTextFree(char *text) { std::free(text); }

} // extern "C"
