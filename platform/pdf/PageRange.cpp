#include "platform/pdf/PageRange.h"

#include <exception>
#include <limits>
#include <qpdf/QUtil.hh>
#include <stdexcept>

namespace quillorn {

namespace {

constexpr std::size_t mostDigits = 9; // what fits an int, in which libqpdf counts

bool hasHugeNumber(const std::string& range) {
    std::size_t digits = 0;
    for (const char ch : range) {
        digits = ch >= '0' && ch <= '9' ? digits + 1 : 0;
        if (digits > mostDigits) {
            return true;
        }
    }
    return false;
}

} // namespace

tl::expected<std::vector<std::size_t>, std::string> parsePageRange(const std::string& range,
                                                                   std::size_t pageCount) {
    if (range.empty()) {
        return tl::unexpected(std::string("the page range is empty"));
    }
    if (pageCount == 0) {
        return tl::unexpected(std::string("the document has no pages"));
    }
    if (hasHugeNumber(range)) {
        return tl::unexpected("there is no page of so high a number in " + range);
    }
    if (pageCount > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return tl::unexpected(std::string("the document has too many pages"));
    }
    try {
        std::vector<std::size_t> indexes;
        for (const int number : QUtil::parse_numrange(range.c_str(), static_cast<int>(pageCount))) {
            if (number < 1 || static_cast<std::size_t>(number) > pageCount) {
                return tl::unexpected("page " + std::to_string(number) + " is out of range");
            }
            indexes.push_back(static_cast<std::size_t>(number) - 1);
        }
        return indexes;
    } catch (const std::exception& error) {
        return tl::unexpected(std::string(error.what()));
    }
}

} // namespace quillorn
