#pragma once

#include <optional>
#include <string>
#include <tl/expected.hpp>
#include <variant>
#include <vector>

namespace quillorn {

/// A password given as it is, or as the name of a file whose first line it is; never both.
struct PasswordChoice {
    std::optional<std::string> text;
    std::optional<std::string> file;
    [[nodiscard]] bool isGiven() const { return text || file; }
};

/// An input of `compose` with the options that follow it.
struct FileRequest {
    std::string path;
    std::optional<std::string> pages; ///< as `parsePageRange` reads it; all pages without
    std::optional<int> rotation;      ///< degrees clockwise, a multiple of 90 within a turn
    PasswordChoice password;
};

/// An output of `compose`: a name that a group may have, and at least one input.
struct GroupRequest {
    std::string name;
    std::vector<FileRequest> files;
};

struct ComposeRequest {
    std::optional<std::string> outputFolder;
    bool json = false;
    bool quiet = false;
    bool keepGoing = false;
    bool verify = false;              ///< read each output back
    bool flatOutline = false;         ///< no outline entries for the files
    bool allowRemote = false;         ///< web pages may fetch from other machines
    bool keepPageSetup = false;       ///< text documents keep their own pages
    std::vector<GroupRequest> groups; ///< at least one
};

struct ConvertRequest {
    std::optional<std::string> outputFolder;
    bool json = false;
    bool quiet = false;
    bool keepGoing = false;
    bool allowRemote = false;       ///< web pages may fetch from other machines
    bool keepPageSetup = false;     ///< text documents keep their own pages
    std::vector<std::string> files; ///< at least one; no two become files of the same name
};

/// The name of the PDF that `convert` makes of a file: its own, with the extension "pdf".
[[nodiscard]] std::string convertedName(const std::string& path);

struct InfoRequest {
    bool json = false;
    bool countOnly = false;         ///< just the number of pages; not together with `json`
    PasswordChoice password;        ///< tried on every file
    std::vector<std::string> files; ///< at least one
};

enum class HelpTopic { program, compose, convert, info };

struct HelpRequest {
    HelpTopic topic = HelpTopic::program;
};

struct VersionRequest {};

using Command =
    std::variant<ComposeRequest, ConvertRequest, InfoRequest, HelpRequest, VersionRequest>;

/// A command line that makes no sense.
struct UsageError {
    std::string message;                  ///< one line for people
    std::string detail;                   ///< one more line, or empty
    HelpTopic topic = HelpTopic::program; ///< the help that explains it
    bool json = false;                    ///< whether --json was among the words
};

/// Reads the words after the program's name. Looks at nothing but the words.
[[nodiscard]] tl::expected<Command, UsageError>
parseCommandLine(const std::vector<std::string>& words);

} // namespace quillorn
