#include "platform/render/worker/WorkerSetup.h"

#include "platform/sandbox/Confinement.h"

#include <charconv>
#include <csignal>
#include <cstdint>
#include <fontconfig/fontconfig.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace quillorn::render {

namespace {

bool readNumber(std::string_view text, std::uint64_t& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

void add(FcStrList* list, std::vector<std::string>& folders) {
    if (list == nullptr) {
        return;
    }
    while (const FcChar8* const folder = FcStrListNext(list)) {
        folders.emplace_back(reinterpret_cast<const char*>(folder));
    }
    FcStrListDone(list);
}

/// Every folder that the system's settings name for fonts. Reading the settings here also
/// takes that wait out of the first page.
std::vector<std::string> readableFolders() {
    std::vector<std::string> folders = fontFolders();
    if (FcInit() == FcTrue) {
        add(FcConfigGetFontDirs(nullptr), folders);
        add(FcConfigGetCacheDirs(nullptr), folders);
    }
    return folders;
}

} // namespace

std::optional<WorkerSetup> setUpWorker(int argc, char** argv) {
    constexpr int expected = 4;
    std::uint64_t memory = 0;
    std::uint64_t seconds = 0;
    std::uint64_t parent = 0;
    if (argc != expected || !readNumber(argv[1], memory) || !readNumber(argv[2], seconds) ||
        !readNumber(argv[3], parent)) {
        return std::nullopt;
    }
    // A worker must not outlive whom it works for, who may have gone before this was said.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (static_cast<std::uint64_t>(::getppid()) != parent) {
        return std::nullopt;
    }
    const std::vector<std::string> readable = readableFolders();
    constexpr std::uint64_t noFiles = 1; // byte; the canvas has its size already
    limitResources(ResourceLimits{memory, noFiles, std::chrono::seconds(0)});
    confine(readable);
    return WorkerSetup{std::chrono::seconds(seconds)};
}

} // namespace quillorn::render
