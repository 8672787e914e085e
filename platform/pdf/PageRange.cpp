#include "platform/pdf/PageRange.h"

#include <exception>
#include <limits>
#include <qpdf/QUtil.hh>
#include <stdexcept>

namespace quillorn {

tl::expected<std::vector<std::size_t>, std::string> parsePageRange(const std::string& range,
                                                                   std::size_t pageCount) {
    if (range.empty()) {
        return tl::unexpected(std::string("the page range is empty"));
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
