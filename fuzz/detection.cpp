// Any bytes as /etc/os-release: the fields are those that a plain reading with std::getline gives.
#include "osrelease/osrelease.h"

#include "input.h"
#include "osrelease/standins.h"

#include <map>
#include <sstream>
#include <stdexcept>

namespace {

std::vector<std::string> pieces(const std::string& line, char delimiter)
{
    std::istringstream in(line);
    std::vector<std::string> found;
    for (std::string piece; std::getline(in, piece, delimiter);)
        found.push_back(piece);
    return found;
}

// The lines as reads of at most 255 characters give them, each up to its first NUL.
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

struct Expected
{
    std::map<std::string, std::string> values;
    int numbers[3] = {};
    bool throws = false;
};

Expected readPlainly(std::string_view file)
{
    Expected expected;
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view file = Input(data, size).rest();
    standin::osRelease(std::string(file));
    Expected expected = readPlainly(file);

    char name[] = "zk_install";
    char* argv[] = {name, nullptr};
    try {
        COSRelease os(1, argv);
        require(!expected.throws, "a version that is no number throws");
        require(os.m_id == expected.values["ID"], "ID");
        require(os.m_idLike == expected.values["ID_LIKE"], "ID_LIKE");
        require(os.m_versionId == expected.values["VERSION_ID"], "VERSION_ID");
        require(os.m_prettyName == expected.values["PRETTY_NAME"], "PRETTY_NAME");
        require(
            os.m_major == expected.numbers[0] && os.m_minor == expected.numbers[1] && os.m_patch == expected.numbers[2],
            "the numbers of the version");
        require(os.m_id.empty() == !os.m_error.empty(), "an error exactly when there is no identifier");

        require(!os.SuseBased() || os.RpmBased(), "SUSE is RPM-based");
        std::string message = "untouched";
        const bool supported = os.OSSupported(message);
        require(supported == (message == "untouched"), "a message exactly when refused");
    } catch (const std::logic_error&) {
        require(expected.throws, "nothing else throws");
    }
    require(standin::osReleaseFile().closed == 1, "the file is closed");
    return 0;
}
