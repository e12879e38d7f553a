#include <morvel/base/ErrorTools.h>

#include <morvel/base/NException.h>

std::string morvel::Describe(const std::exception& exception) {
    constexpr const char* Because = "; because of ";
    std::string text = exception.what();
    if (const auto* const ours = dynamic_cast<const NException*>(&exception)) {
        if (!ours->Message().empty()) text += ": " + ours->Message();
        if (ours->Nested() != nullptr) return text + Because + Describe(*ours->Nested());
    }
    try {
        std::rethrow_if_nested(exception);
    } catch (const std::exception& nested) {
        text += Because + Describe(nested);
    } catch (...) {
        text += std::string(Because) + "something that is no exception";
    }
    return text;
}
