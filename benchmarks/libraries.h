#ifndef KQSUPPORT_BENCHMARKS_LIBRARIES_H
#define KQSUPPORT_BENCHMARKS_LIBRARIES_H

#include "benchmarks/documents.h"

#include <memory>
#include <vector>

namespace libraries {

using Text = const documents::DualString&;

/// A settings file that a library has loaded. A step throws std::runtime_error if the library reports a failure.
struct LoadedFile
{
    virtual ~LoadedFile() = default;
    virtual void lookup(Text section, Text key) = 0;
    virtual void edit(Text section, Text key, Text value) = 0;
    virtual void write(Text path) = 0;
};

struct Library
{
    std::string name;
    std::unique_ptr<LoadedFile> (*load)(Text path);
    bool onlyReads = false;
    bool hashComments = false;  // it refuses a file with `;` comments
    bool writesChanges = false; // and nothing if there are none
};

/// INIStore, then the libraries that a user would choose instead.
extern const std::vector<Library> all;

} // namespace libraries

#endif
