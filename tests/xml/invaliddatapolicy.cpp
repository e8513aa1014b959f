// Before main() starts, sets Qt's policy for names and texts that XML forbids from the environment.
#include <QDomImplementation>

#include <cstdlib>
#include <string_view>

namespace {

bool setPolicy()
{
    const char* const name = std::getenv("INVALID_DATA_POLICY");
    const std::string_view policy = name ? name : "";
    if (policy == "accept")
        QDomImplementation::setInvalidDataPolicy(QDomImplementation::AcceptInvalidChars);
    if (policy == "drop")
        QDomImplementation::setInvalidDataPolicy(QDomImplementation::DropInvalidChars);
    if (policy == "return_null")
        QDomImplementation::setInvalidDataPolicy(QDomImplementation::ReturnNullNode);
    return true;
}

[[maybe_unused]] const bool isSet = setPolicy();

} // namespace
