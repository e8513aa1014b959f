// Reads any bytes as /etc/os-release. The fields must match those of the reference implementation.
#include "osrelease/osrelease.h"

#include "input.h"
#include "osrelease/fakes.h"
#include "reference/detection.h"

#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view file = Input(data, size).rest();
    fakes::osRelease(std::string(file));
    reference::Release expected = reference::detect(file);

    char name[] = "zk_install";
    char* argv[] = {name, nullptr};
    try {
        COSRelease os(1, argv);
        require(!expected.throws, "a version that is not a number throws");
        require(os.m_id == expected.values["ID"], "ID");
        require(os.m_idLike == expected.values["ID_LIKE"], "ID_LIKE");
        require(os.m_versionId == expected.values["VERSION_ID"], "VERSION_ID");
        require(os.m_prettyName == expected.values["PRETTY_NAME"], "PRETTY_NAME");
        require(
            os.m_major == expected.numbers[0] && os.m_minor == expected.numbers[1] && os.m_patch == expected.numbers[2],
            "the numbers of the version");
        require(os.m_id.empty() == !os.m_error.empty(), "an error if and only if there is no identifier");

        require(!os.SuseBased() || os.RpmBased(), "SUSE is RPM-based");
        std::string message = "untouched";
        const bool supported = os.OSSupported(message);
        require(supported == (message == "untouched"), "a message if and only if refused");
    } catch (const std::logic_error&) {
        require(expected.throws, "nothing else throws");
    }
    require(fakes::osReleaseFile().closed == 1, "the file is closed");
    return 0;
}
