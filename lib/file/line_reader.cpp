// The line reader shared by the configuration-file functions.
#include "line_reader.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

namespace velkc {

LineReader::~LineReader() { std::free(line_); }

bool LineReader::open(const char *path, const char *mode)
{
    file_.reset(std::fopen(path, mode));
    if (!file_) {
        return false;
    }
    struct stat st;
    if (fstat(fileno(file_.get()), &st) != 0) {
        file_.reset();
        return false;
    }
    if (S_ISDIR(st.st_mode)) {
        file_.reset();
        errno = EISDIR;
        return false;
    }
    return true;
}

bool OpenReader(LineReader &reader, const char *path, const char *source, int line)
{
    if (reader.open(path)) {
        return true;
    }
    VELKCErrSetEx(ERR_OPEN_FAILED, source, line);
    return false;
}

bool LineReader::next()
{
    const ssize_t n = getline(&line_, &capacity_, file_.get());
    if (n < 0) {
        failed_ = !std::feof(file_.get());
        size_ = 0;
        return false;
    }
    size_ = static_cast<std::size_t>(n);
    unterminated_ = line_[size_ - 1] != '\n';
    return true;
}

LineCopy::~LineCopy() { std::free(buf_); }

char *LineCopy::assign(std::string_view line)
{
    if (line.size() + 1 > capacity_) {
        char *grown = static_cast<char *>(std::realloc(buf_, line.size() + 1));
        if (grown == nullptr) {
            return nullptr;
        }
        buf_ = grown;
        capacity_ = line.size() + 1;
    }
    std::memcpy(buf_, line.data(), line.size());
    buf_[line.size()] = '\0';
    return buf_;
}

} // namespace velkc
