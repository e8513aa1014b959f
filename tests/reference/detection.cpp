#include "reference/detection.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace reference {

namespace {

std::vector<std::string> pieces(const std::string& line, char delimiter)
{
    std::istringstream in(line);
    std::vector<std::string> found;
    for (std::string piece; std::getline(in, piece, delimiter);)
        found.push_back(piece);
    return found;
}

// Returns the lines as fgets with a buffer of 256 bytes reads them, each up to its first NUL.
std::vector<std::string> reads(std::string_view file)
{
    std::vector<std::string> lines;
    while (!file.empty()) {
        const std::size_t size = std::min({file.find('\n'), file.size() - 1, std::size_t(254)}) + 1;
        lines.emplace_back(file.substr(0, size).data(), std::min(size, file.substr(0, size).find('\0')));
        if (!lines.back().empty() && lines.back().back() == '\n')
            lines.back().pop_back();
        file.remove_prefix(size);
    }
    return lines;
}

} // namespace

Release detect(std::string_view file)
{
    Release expected;
    for (const std::string& line : reads(file)) {
        const std::vector<std::string> parts = pieces(line, '=');
        if (parts.size() != 2)
            continue;
        std::string value = parts[1];
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        expected.values[parts[0]] = value;
        if (parts[0] != "VERSION_ID")
            continue;
        const std::vector<std::string> numbers = pieces(value, '.');
        try {
            for (std::size_t i = 0; i < numbers.size() && i < 3; ++i)
                expected.numbers[i] = std::stoi(numbers[i]);
        } catch (const std::logic_error&) {
            expected.throws = true;
            break;
        }
    }
    return expected;
}

} // namespace reference
