// Reads any command line, one argument per line. The first --distrib sets an identity or an error; without one, the
// file is read.
#include "osrelease/osrelease.h"

#include "input.h"
#include "osrelease/fakes.h"

#include <algorithm>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fakes::osRelease("ID=file\n");
    std::vector<std::string> words = {"zk_install"};
    for (Input input(data, size); words.size() < 100;) {
        const std::string_view word = input.line();
        if (word.empty())
            break;
        words.emplace_back(word.substr(0, word.find('\0')));
    }
    const std::vector<std::string> before = words;
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    COSRelease os(static_cast<int>(words.size()), argv.data());

    require(words == before, "the arguments are unchanged");
    const auto option = std::find(before.begin() + 1, before.end(), "--distrib");
    if (option == before.end()) {
        require(os.m_id == "file" && os.m_error.empty() && !os.m_verifiedReleases.empty(), "the file decides");
        return 0;
    }
    require(os.m_verifiedReleases.empty() && os.m_idLike.empty() && os.m_prettyName.empty(), "the file is not read");
    require(os.m_id.empty() == !os.m_error.empty(), "an identity or an error");
    if (option + 1 == before.end())
        require(os.m_error.rfind("Missing distribution\n\n", 0) == 0, "a missing name is reported");
    else if (os.m_id.empty())
        require(
            os.m_error.rfind("Unknown distribution \"" + option[1] + "\"\n\n", 0) == 0, "an unknown name is quoted");
    else
        require(os.OSSupported(os.m_error), "every forced identity is supported");
    return 0;
}
