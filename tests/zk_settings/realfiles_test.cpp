#include "zk_settings/settings.h"

#include "files/settingsfiles.h"
#include "support/files.h"

namespace {

class RealFile : public testing::TestWithParam<SettingsFile>
{
protected:
    Finished set(const std::string& value)
    {
        return settings(dir.path(), {"set", GetParam().file, GetParam().section, GetParam().key, value});
    }

    TempDir dir;
};

TEST_P(RealFile, changes_only_in_the_value_and_back_to_the_same_bytes)
{
    const std::string before = readFile(TEST_FILES "/settings/" + std::string(GetParam().file));
    writeFile(dir / GetParam().file, before);
    EXPECT_EQ(set("zk-new").err, "");

    std::string after = readFile(dir / GetParam().file);
    const std::size_t changed = after.find("zk-new");
    ASSERT_NE(changed, std::string::npos);
    EXPECT_EQ(after.replace(changed, 6, GetParam().value), before);

    EXPECT_EQ(set(GetParam().value).err, "");
    EXPECT_EQ(readFile(dir / GetParam().file), before);
}

INSTANTIATE_TEST_SUITE_P(With, RealFile, testing::ValuesIn(settingsFiles), rowName);

} // namespace
