#include "inistore/storetest.h"

#include "files/settingsfiles.h"

namespace {

const std::string directory = TEST_FILES "/settings/";

class RealFile : public StoreTest, public testing::WithParamInterface<SettingsFile>
{
};

TEST_P(RealFile, is_understood_and_written_byte_for_byte)
{
    const std::string bytes = readFile(directory + GetParam().file);
    given(bytes);
    thenValuesAre(GetParam().section, GetParam().key, {GetParam().value});
    thenFileIs(bytes);
}

INSTANTIATE_TEST_SUITE_P(With, RealFile, testing::ValuesIn(settingsFiles), rowName);

TEST_F(StoreTest, a_file_without_keys_is_written_byte_for_byte)
{
    const std::string bytes = readFile(directory + "tmpfiles.conf");
    given(bytes);
    EXPECT_EQ(store.m_sections.size(), 1);
    thenFileIs(bytes);
}

} // namespace
