#include "app/PasswordFiles.h"

#include "platform/files/TextFile.h"

#include <map>
#include <string>
#include <utility>

namespace quillorn {

namespace {

class PasswordReader {
public:
    PasswordReader(HelpTopic topic, bool json) : m_topic(topic), m_json(json) {}

    tl::expected<void, UsageError> resolve(PasswordChoice& password) {
        if (!password.file) {
            return {};
        }
        const std::string path = *password.file;
        auto known = m_known.find(path);
        if (known == m_known.end()) {
            auto line = readFirstLine(path);
            if (!line) {
                return tl::unexpected(UsageError{"The password file cannot be read.",
                                                 path + ": " + line.error().reason, m_topic,
                                                 m_json});
            }
            known = m_known.emplace(path, std::move(*line)).first;
        }
        password.text = known->second;
        password.file.reset();
        return {};
    }

private:
    HelpTopic m_topic;
    bool m_json;
    std::map<std::string, std::string> m_known;
};

} // namespace

tl::expected<void, UsageError> readPasswordFiles(ComposeRequest& request) {
    PasswordReader reader(HelpTopic::compose, request.json);
    for (GroupRequest& group : request.groups) {
        for (FileRequest& file : group.files) {
            if (auto resolved = reader.resolve(file.password); !resolved) {
                return resolved;
            }
        }
    }
    return {};
}

tl::expected<void, UsageError> readPasswordFiles(InfoRequest& request) {
    return PasswordReader(HelpTopic::info, request.json).resolve(request.password);
}

} // namespace quillorn
