#include "Arguments.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <numeric>
#include <vector>

#include "Failure.h"

namespace vframe {
namespace {

std::string LowerCase(std::string_view inText) {
    std::string lower(inText);
    for (char& c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

/// How many letters have to be put in, taken out or changed to make one text the other
/// (Levenshtein's distance).
std::size_t Distance(std::string_view inLeft, std::string_view inRight) {
    std::vector<std::size_t> row(inRight.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < inLeft.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < inRight.size(); ++j) {
            const std::size_t changed = diagonal + (inLeft[i] == inRight[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

/// How unlike a format's name, or its beginning, is to what was typed.
std::size_t Unlikeness(std::string_view inTyped, std::string_view inName) {
    const std::string typed = LowerCase(inTyped);
    const std::string name = LowerCase(inName);
    if (name.find(typed) != name.npos) return 0;
    return std::min(Distance(typed, name), Distance(typed, name.substr(0, typed.size())));
}

/// Up to three names that may have been meant, as the end of an error line.
std::string Suggestion(std::string_view inTyped) {
    std::vector<std::string_view> near;
    for (const auto& named : tulomediatypes::NamedPixelFormats()) {
        if (Unlikeness(inTyped, named.name) <= inTyped.size() / 3) near.push_back(named.name);
    }
    if (inTyped.empty() || near.empty()) return "; 'vframe formats' lists them";
    std::stable_sort(near.begin(), near.end(), [&](std::string_view left, std::string_view right) {
        return Unlikeness(inTyped, left) < Unlikeness(inTyped, right);
    });
    std::string text = "; near: ";
    for (std::size_t i = 0; i < std::min<std::size_t>(near.size(), 3); ++i)
        text += (i == 0 ? "" : ", ") + std::string(near[i]);
    return text;
}

}  // namespace

Size ParseSize(const std::string& inOption, const std::string& inText) {
    Size size;
    const char* const end = inText.data() + inText.size();
    const auto [cross, error] = std::from_chars(inText.data(), end, size.width);
    if (error == std::errc() && cross != end && (*cross == 'x' || *cross == 'X')) {
        const auto [last, lastError] = std::from_chars(cross + 1, end, size.height);
        if (lastError == std::errc() && last == end && size.width > 0 && size.height > 0)
            return size;
    }
    throw UsageFailure(inOption, "'" + inText + "' is no size; write it as 960x540");
}

tulomediatypes::PixelFormat ParseFormat(const std::string& inOption, const std::string& inText) {
    for (const auto& named : tulomediatypes::NamedPixelFormats()) {
        if (LowerCase(named.name) == LowerCase(inText)) return named.format;
    }
    throw UsageFailure(inOption, "'" + inText + "' is no format" + Suggestion(inText));
}

tulocore::utility::Guid ParseGuid(const std::string& inText) {
    if (const auto guid = tulocore::utility::Guid::Parse(inText)) return *guid;
    throw UsageFailure(
        "--guid", "'" + inText + "' is no Guid; write it as 01234567-89AB-CDEF-0123-456789ABCDEF");
}

std::string FormatName(tulomediatypes::PixelFormat inFormat) {
    for (const auto& named : tulomediatypes::NamedPixelFormats()) {
        if (named.format == inFormat) return std::string(named.name);
    }
    return "unknown";
}

std::string ToText(Size inSize) {
    return std::to_string(inSize.width) + "x" + std::to_string(inSize.height);
}

std::string Grouped(std::uint64_t inNumber) {
    const std::string digits = std::to_string(inNumber);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
        text += digits[i];
    }
    return text;
}

}  // namespace vframe
