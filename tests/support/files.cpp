#include "support/files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.good()) << "cannot read " << path;
    return {std::istreambuf_iterator<char>(in), {}};
}

void writeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
    out.close();
    EXPECT_TRUE(out.good()) << "cannot write " << path;
}

TempDir::TempDir()
    : m_path((std::filesystem::temp_directory_path() / "kqsupport-XXXXXX").string())
{
    if (!mkdtemp(m_path.data()))
        throw std::runtime_error("cannot make a temporary directory " + m_path);
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}
