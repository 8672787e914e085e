#include "platform/process/KeeperProtocol.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <system_error>

namespace quillorn::keeper {

namespace {

/// The words before the child's own, in this order; a number that is not stated is "-".
constexpr std::size_t headWords = 8;
constexpr std::string_view notStated = "-";

std::string word(const std::optional<std::uint64_t>& number) {
    return number ? std::to_string(*number) : std::string(notStated);
}

/// False when the word is neither a number nor "-".
bool read(const std::string& text, std::optional<std::uint64_t>& number) {
    if (text == notStated) {
        number.reset();
        return true;
    }
    std::uint64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, value);
    number = value;
    return error == std::errc() && last == end;
}

} // namespace

std::vector<std::string> toWords(const Order& order) {
    std::optional<std::uint64_t> user;
    std::optional<std::uint64_t> group;
    if (order.user) {
        user = order.user->user;
        group = order.user->group;
    }
    std::vector<std::string> words = {order.workingFolder,
                                      word(order.limits.dataBytes),
                                      word(order.limits.cpuSeconds),
                                      word(order.limits.fileBytes),
                                      word(user),
                                      word(group),
                                      word(order.outputLimit),
                                      word(order.network ? 1 : 0)};
    words.insert(words.end(), order.arguments.begin(), order.arguments.end());
    return words;
}

std::optional<Order> fromWords(const std::vector<std::string>& words) {
    Order order;
    std::optional<std::uint64_t> user;
    std::optional<std::uint64_t> group;
    std::optional<std::uint64_t> outputLimit;
    std::optional<std::uint64_t> network;
    if (words.size() <= headWords || !read(words[1], order.limits.dataBytes) ||
        !read(words[2], order.limits.cpuSeconds) || !read(words[3], order.limits.fileBytes) ||
        !read(words[4], user) || !read(words[5], group) || !read(words[6], outputLimit) ||
        !read(words[7], network) || user.has_value() != group.has_value() || !outputLimit) {
        return std::nullopt;
    }
    order.workingFolder = words[0];
    if (user) {
        order.user = ChildUser{static_cast<uid_t>(*user), static_cast<gid_t>(*group)};
    }
    order.outputLimit = *outputLimit;
    order.network = network != std::uint64_t{0};
    order.arguments.assign(words.begin() + headWords, words.end());
    return order;
}

} // namespace quillorn::keeper
