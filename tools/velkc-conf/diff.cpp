// A line diff: the shortest edit script (Myers' greedy algorithm over the
// lines that differ once the common head and tail are set aside), printed
// in hunks as patch reads them.
#include "diff.hpp"

#include <algorithm>
#include <vector>

namespace conf {

namespace {

constexpr long kContext = 3;

std::vector<std::string_view> Lines(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines;
}

// One line of the script: ' ' kept, '-' only before, '+' only after.
struct Step {
    char op;
    std::string_view line;
};

// The shortest script that turns a into b.
std::vector<Step> Script(const std::vector<std::string_view> &a, const std::vector<std::string_view> &b)
{
    const long n = static_cast<long>(a.size());
    const long m = static_cast<long>(b.size());
    const long offset = n + m + 1;
    std::vector<long> v(static_cast<std::size_t>(2 * offset + 1), 0);
    std::vector<std::vector<long>> trace;
    for (long d = 0;; ++d) {
        trace.push_back(v);
        bool done = false;
        for (long k = -d; k <= d && !done; k += 2) {
            const auto at = [&](long diagonal) -> long & { return v[static_cast<std::size_t>(diagonal + offset)]; };
            long x = k == -d || (k != d && at(k - 1) < at(k + 1)) ? at(k + 1) : at(k - 1) + 1;
            long y = x - k;
            while (x < n && y < m && a[static_cast<std::size_t>(x)] == b[static_cast<std::size_t>(y)]) {
                ++x;
                ++y;
            }
            at(k) = x;
            done = x >= n && y >= m;
        }
        if (done) {
            break;
        }
    }
    // Walk the trace back from the end.
    std::vector<Step> steps;
    long x = n;
    long y = m;
    for (long d = static_cast<long>(trace.size()) - 1; d >= 0; --d) {
        const std::vector<long> &prev = trace[static_cast<std::size_t>(d)];
        const auto at = [&](long diagonal) { return prev[static_cast<std::size_t>(diagonal + offset)]; };
        const long k = x - y;
        const long prevK = k == -d || (k != d && at(k - 1) < at(k + 1)) ? k + 1 : k - 1;
        const long prevX = d == 0 ? 0 : at(prevK);
        const long prevY = prevX - prevK;
        while (x > prevX && y > prevY) {
            steps.push_back({' ', a[static_cast<std::size_t>(--x)]});
            --y;
        }
        if (d > 0) {
            steps.push_back(x == prevX ? Step{'+', b[static_cast<std::size_t>(--y)]}
                                       : Step{'-', a[static_cast<std::size_t>(--x)]});
        }
    }
    std::reverse(steps.begin(), steps.end());
    return steps;
}

void PrintLine(std::ostream &out, const Step &step)
{
    out << step.op << step.line;
    if (!step.line.ends_with('\n')) {
        out << "\n\\ No newline at end of file\n";
    }
}

// "start,count" of a hunk's side; an empty side names the line before it.
void PrintRange(std::ostream &out, long start, long count)
{
    out << (count == 0 ? start : start + 1);
    if (count != 1) {
        out << ',' << count;
    }
}

} // namespace

void PrintUnifiedDiff(std::ostream &out, std::string_view file, std::string_view before, std::string_view after)
{
    if (before == after) {
        return;
    }
    // The lines both share at the head and the tail need no search.
    const std::vector<std::string_view> a = Lines(before);
    const std::vector<std::string_view> b = Lines(after);
    const auto head = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin();
    const auto tail = std::mismatch(a.rbegin(), a.rend() - head, b.rbegin(), b.rend() - head).first - a.rbegin();
    std::vector<Step> steps;
    for (auto line = a.begin(); line != a.begin() + head; ++line) {
        steps.push_back({' ', *line});
    }
    const std::vector<std::string_view> middleA(a.begin() + head, a.end() - tail);
    const std::vector<std::string_view> middleB(b.begin() + head, b.end() - tail);
    for (const Step &step : Script(middleA, middleB)) {
        steps.push_back(step);
    }
    for (auto line = a.end() - tail; line != a.end(); ++line) {
        steps.push_back({' ', *line});
    }
    const auto op = [&](long i) { return steps[static_cast<std::size_t>(i)].op; };
    const long count = static_cast<long>(steps.size());
    out << "--- a/" << file << "\n+++ b/" << file << '\n';
    long lineA = 0; // lines of each side before step i
    long lineB = 0;
    for (long i = 0; i < count;) {
        if (op(i) == ' ') {
            ++lineA;
            ++lineB;
            ++i;
            continue;
        }
        // A hunk holds the changes that are at most 2 * kContext kept lines
        // apart, and kContext kept lines around them.
        long last = i;
        for (long j = i; j < count && j - last <= 2 * kContext; ++j) {
            last = op(j) != ' ' ? j : last;
        }
        const long begin = std::max(0L, i - kContext);
        const long end = std::min(count, last + 1 + kContext);
        long startA = lineA - (i - begin);
        long startB = lineB - (i - begin);
        long sizeA = 0;
        long sizeB = 0;
        for (long j = begin; j < end; ++j) {
            sizeA += op(j) != '+';
            sizeB += op(j) != '-';
        }
        out << "@@ -";
        PrintRange(out, startA, sizeA);
        out << " +";
        PrintRange(out, startB, sizeB);
        out << " @@\n";
        for (long j = begin; j < end; ++j) {
            PrintLine(out, steps[static_cast<std::size_t>(j)]);
        }
        lineA = startA + sizeA;
        lineB = startB + sizeB;
        i = end;
    }
}

} // namespace conf
