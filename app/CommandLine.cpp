#include "app/CommandLine.h"

#include "app/CommandWords.h"
#include "composer/GroupName.h"
#include "model/FileNames.h"

#include <charconv>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

namespace quillorn {

namespace {

/// A line of text for a usage error, or nothing.
using Checked = tl::expected<void, std::string>;

constexpr int fullTurn = 360;
constexpr int quarterTurn = 90;

Checked alreadyGiven(const std::string& option, const std::string& file) {
    return tl::unexpected(option + " is given twice for " + file + ".");
}

Checked setPassword(PasswordChoice& password, const CommandWord& option, std::string value,
                    const std::string& owner) {
    if (password.isGiven()) {
        return tl::unexpected("More than one password is given for " + owner + ".");
    }
    (option.text == "--password" ? password.text : password.file) = std::move(value);
    return {};
}

/// Degrees within a turn; nothing when the text is no number of degrees.
std::optional<int> rotationFrom(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    long long degrees = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), degrees);
    if (error != std::errc() || end != text.data() + text.size() || degrees % quarterTurn != 0) {
        return std::nullopt;
    }
    return static_cast<int>(degrees % fullTurn);
}

Checked setOutputFolder(std::optional<std::string>& known, const CommandWord& option,
                        CommandWords& words) {
    auto folder = words.valueOf(option);
    if (!folder) {
        return tl::unexpected(std::move(folder.error()));
    }
    if (known) {
        return tl::unexpected(option.text + " is given twice.");
    }
    if (folder->empty()) {
        return tl::unexpected(option.text + " needs the name of a folder.");
    }
    known = std::move(*folder);
    return {};
}

/// Reads the words after "compose".
class ComposeParser {
public:
    explicit ComposeParser(CommandWords& words) : m_words(words) {}

    /// Nothing when help was asked for.
    tl::expected<std::optional<ComposeRequest>, std::string> parse() {
        while (const auto word = m_words.next()) {
            if (word->isOption && (word->text == "--help" || word->text == "-h")) {
                return std::nullopt;
            }
            if (auto taken = word->isOption ? takeOption(*word) : takeFile(word->text); !taken) {
                return tl::unexpected(std::move(taken.error()));
            }
        }
        if (auto complete = checkComplete(); !complete) {
            return tl::unexpected(std::move(complete.error()));
        }
        return std::move(m_request);
    }

private:
    Checked takeOption(const CommandWord& option) {
        bool* const flag = option.text == "--json"              ? &m_request.json
                           : option.text == "--quiet"           ? &m_request.quiet
                           : option.text == "--keep-going"      ? &m_request.keepGoing
                           : option.text == "--verify"          ? &m_request.verify
                           : option.text == "--flat-outline"    ? &m_request.flatOutline
                           : option.text == "--allow-remote"    ? &m_request.allowRemote
                           : option.text == "--keep-page-setup" ? &m_request.keepPageSetup
                                                                : nullptr;
        if (flag != nullptr) {
            *flag = true;
            return CommandWords::checkNoValue(option);
        }
        if (option.text == "--output-folder") {
            return setOutputFolder(m_request.outputFolder, option, m_words);
        }
        if (option.text == "--group") {
            return takeGroup(option);
        }
        if (option.text == "--pages" || option.text == "--rotate" || option.text == "--password" ||
            option.text == "--password-file") {
            return takeFileOption(option);
        }
        return tl::unexpected("There is no option " + option.text + ".");
    }

    Checked takeGroup(const CommandWord& option) {
        if (auto complete = checkComplete(); !complete && !m_request.groups.empty()) {
            return complete;
        }
        auto name = m_words.valueOf(option);
        if (!name) {
            return tl::unexpected(std::move(name.error()));
        }
        if (name->find('/') != std::string::npos) {
            return tl::unexpected("A group is named like a file, without a folder: " + *name);
        }
        if (auto checked = checkGroupName(*name, m_names); !checked) {
            return checked;
        }
        m_names.push_back(*name);
        m_request.groups.push_back(GroupRequest{std::move(*name), {}});
        return {};
    }

    Checked takeFile(const std::string& path) {
        if (m_request.groups.empty()) {
            return tl::unexpected("A file needs a --group before it: " + path);
        }
        if (path.empty()) {
            return tl::unexpected("A file's name is empty in the group " +
                                  m_request.groups.back().name + ".");
        }
        m_request.groups.back().files.push_back(FileRequest{path, {}, {}, {}});
        return {};
    }

    Checked takeFileOption(const CommandWord& option) {
        auto value = m_words.valueOf(option);
        if (!value) {
            return tl::unexpected(std::move(value.error()));
        }
        if (m_request.groups.empty() || m_request.groups.back().files.empty()) {
            return tl::unexpected(option.text + " belongs behind the file that it is for.");
        }
        FileRequest& file = m_request.groups.back().files.back();
        if (option.text == "--pages") {
            if (file.pages) {
                return alreadyGiven(option.text, file.path);
            }
            file.pages = std::move(*value);
            return {};
        }
        if (option.text == "--rotate") {
            if (file.rotation) {
                return alreadyGiven(option.text, file.path);
            }
            file.rotation = rotationFrom(*value);
            if (!file.rotation) {
                return tl::unexpected("--rotate needs a multiple of 90 degrees, not " + *value +
                                      ".");
            }
            return {};
        }
        return setPassword(file.password, option, std::move(*value), file.path);
    }

    /// Whether the latest group has a file, and there is a group at all.
    [[nodiscard]] Checked checkComplete() const {
        if (m_request.groups.empty()) {
            return tl::unexpected(
                std::string("There is no --group, so there is nothing to write."));
        }
        if (m_request.groups.back().files.empty()) {
            return tl::unexpected("The group " + m_request.groups.back().name + " has no files.");
        }
        return {};
    }

    CommandWords& m_words;
    ComposeRequest m_request;
    std::vector<std::string> m_names;
};

Checked checkFilesOf(const ConvertRequest& request) {
    if (request.files.empty()) {
        return tl::unexpected(std::string("There is no file to convert."));
    }
    for (const std::string& path : request.files) {
        if (lastPathComponent(path).empty()) {
            return tl::unexpected(std::string("A file's name is empty."));
        }
    }
    return {};
}

/// That two of the files would be written under one name, like two groups of one.
std::optional<UsageError> clashIn(const ConvertRequest& request) {
    std::set<std::string> names;
    for (const std::string& path : request.files) {
        const std::string name = convertedName(path);
        if (!names.insert(name).second) {
            return UsageError{messageText(group_message::alreadyExists, name),
                              "More than one file would become " + name + ".", HelpTopic::convert,
                              request.json};
        }
    }
    return std::nullopt;
}

/// Reads the words after "convert"; nothing when help was asked for.
tl::expected<std::optional<ConvertRequest>, std::string> parseConvert(CommandWords& words) {
    ConvertRequest request;
    while (const auto word = words.next()) {
        bool* const flag = word->text == "--json"              ? &request.json
                           : word->text == "--quiet"           ? &request.quiet
                           : word->text == "--keep-going"      ? &request.keepGoing
                           : word->text == "--allow-remote"    ? &request.allowRemote
                           : word->text == "--keep-page-setup" ? &request.keepPageSetup
                                                               : nullptr;
        Checked taken;
        if (!word->isOption) {
            request.files.push_back(word->text);
        } else if (word->text == "--help" || word->text == "-h") {
            return std::nullopt;
        } else if (flag != nullptr) {
            *flag = true;
            taken = CommandWords::checkNoValue(*word);
        } else if (word->text == "--output-folder") {
            taken = setOutputFolder(request.outputFolder, *word, words);
        } else {
            taken = tl::unexpected("There is no option " + word->text + ".");
        }
        if (!taken) {
            return tl::unexpected(std::move(taken.error()));
        }
    }
    if (auto fine = checkFilesOf(request); !fine) {
        return tl::unexpected(std::move(fine.error()));
    }
    return request;
}

/// Reads the words after "info"; nothing when help was asked for.
tl::expected<std::optional<InfoRequest>, std::string> parseInfo(CommandWords& words) {
    InfoRequest request;
    while (const auto word = words.next()) {
        Checked taken;
        if (!word->isOption) {
            request.files.push_back(word->text);
        } else if (word->text == "--help" || word->text == "-h") {
            return std::nullopt;
        } else if (word->text == "--json" || word->text == "--count") {
            (word->text == "--json" ? request.json : request.countOnly) = true;
            taken = CommandWords::checkNoValue(*word);
        } else if (word->text == "--password" || word->text == "--password-file") {
            auto value = words.valueOf(*word);
            taken = value ? setPassword(request.password, *word, std::move(*value), "the files")
                          : tl::unexpected(std::move(value.error()));
        } else {
            taken = tl::unexpected("There is no option " + word->text + ".");
        }
        if (!taken) {
            return tl::unexpected(std::move(taken.error()));
        }
    }
    if (request.files.empty()) {
        return tl::unexpected(std::string("There is no file to tell about."));
    }
    if (request.json && request.countOnly) {
        return tl::unexpected(std::string("--json and --count do not go together."));
    }
    return request;
}

template <class Request>
tl::expected<Command, UsageError>
commandFrom(tl::expected<std::optional<Request>, std::string> parsed, const CommandWords& words,
            HelpTopic topic) {
    if (!parsed) {
        return tl::unexpected(
            UsageError{std::move(parsed.error()), {}, topic, words.contains("--json")});
    }
    if (!*parsed) {
        return HelpRequest{topic};
    }
    return std::move(**parsed);
}

} // namespace

std::string convertedName(const std::string& path) {
    return baseName(path) + ".pdf";
}

tl::expected<Command, UsageError> parseCommandLine(const std::vector<std::string>& words) {
    if (words.empty()) {
        return tl::unexpected(UsageError{"There is no command.", {}, HelpTopic::program, false});
    }
    CommandWords rest(std::vector<std::string>(words.begin() + 1, words.end()));
    const std::string& command = words.front();
    if (command == "compose") {
        return commandFrom(ComposeParser(rest).parse(), rest, HelpTopic::compose);
    }
    if (command == "convert") {
        auto parsed = parseConvert(rest);
        if (parsed && *parsed) {
            if (auto clash = clashIn(**parsed)) {
                return tl::unexpected(std::move(*clash));
            }
        }
        return commandFrom(std::move(parsed), rest, HelpTopic::convert);
    }
    if (command == "info") {
        return commandFrom(parseInfo(rest), rest, HelpTopic::info);
    }
    if (command == "--help" || command == "-h") {
        return HelpRequest{HelpTopic::program};
    }
    if (command == "--version") {
        return VersionRequest{};
    }
    return tl::unexpected(UsageError{
        (command.starts_with('-') ? "There is no option " : "There is no command ") + command + ".",
        {},
        HelpTopic::program,
        rest.contains("--json")});
}

} // namespace quillorn
