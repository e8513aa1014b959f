#ifndef KQSUPPORT_TESTS_DETECTIONMODEL_H
#define KQSUPPORT_TESTS_DETECTIONMODEL_H

#include <map>
#include <string>
#include <string_view>

/// What a file says of its release.
struct ModelRelease
{
    std::map<std::string, std::string> values;
    int numbers[3] = {};
    bool throws = false; ///< a piece of the version is no number
};

/// The rules of the detection as a plain reading with std::getline: what the library is compared with.
ModelRelease modelRelease(std::string_view file);

#endif
