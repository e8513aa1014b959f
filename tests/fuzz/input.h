#ifndef KQSUPPORT_FUZZ_INPUT_H
#define KQSUPPORT_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/// A fuzz target. It is called with each input, and returns 0 or ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// The bytes of one input, taken from the front. Past the end everything is empty or 0.
class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size)
        : m_rest(reinterpret_cast<const char*>(data), size)
    {
    }

    std::uint8_t byte() { return m_rest.empty() ? std::uint8_t(0) : static_cast<std::uint8_t>(take(1).front()); }
    /// The text up to the next line feed, which is removed too.
    std::string_view line()
    {
        const std::string_view text = take(std::min(m_rest.find('\n'), m_rest.size()));
        take(1);
        return text;
    }
    std::string_view rest() { return take(m_rest.size()); }

private:
    std::string_view take(std::size_t count)
    {
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    std::string_view m_rest;
};

/// Ends the process if `holds` is false. The fuzzer then saves the input.
inline void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

#endif
