#ifndef KQSUPPORT_TESTS_REFERENCE_DETECTION_H
#define KQSUPPORT_TESTS_REFERENCE_DETECTION_H

#include <map>
#include <string>
#include <string_view>

namespace reference {

/// The contents of an os-release file.
struct Release
{
    std::map<std::string, std::string> values;
    int numbers[3] = {};
    bool throws = false; ///< a part of the version is not a number
};

/// The reference implementation of the detection: the simplest code, with std::getline.
Release detect(std::string_view file);

} // namespace reference

#endif
