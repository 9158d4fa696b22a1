#include <tests/support/LoggerFixture.h>

std::vector<std::string> readLogLines(std::string const& path) {
    std::string const all = readFile(path);
    std::vector<std::string> lines;
    std::size_t begin = 0;
    for (std::size_t end; (end = all.find("\r\n", begin)) != std::string::npos; begin = end + 2)
        lines.push_back(all.substr(begin, end - begin));
    EXPECT_EQ(begin, all.size()) << path << " ends in the middle of a line";
    for (std::string const& line : lines)
        EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    return lines;
}
