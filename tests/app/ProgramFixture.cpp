#include "tests/app/ProgramFixture.h"

#include "tests/fakes/TestPDF.h"

#include <optional>
#include <utility>

namespace quillorn::tests {

ProgramFixture::ProgramFixture() {
    for (const auto& folder : {work, home, temporary}) {
        std::filesystem::create_directory(folder);
    }
}

Program ProgramFixture::program(std::vector<std::string> words) const {
    return Program(QUILLORN_PROGRAM, std::move(words))
        .inFolder(work)
        .with("HOME", home.string())
        .with("XDG_CONFIG_HOME", (home / ".config").string())
        .with("TMPDIR", temporary.string())
        // A display would bring up the window where no command is given.
        .with("DISPLAY", std::nullopt)
        .with("WAYLAND_DISPLAY", std::nullopt)
        .with("QT_QPA_PLATFORM", std::nullopt);
}

std::string ProgramFixture::pdf(const std::string& name, std::size_t pages) const {
    TestPDF(name, pages).writeTo(work / name);
    return name;
}

std::string ProgramFixture::lockedPdf(const std::string& name) const {
    const std::filesystem::path plain = TestPDF(name, 2).writeTo(folders / "plain.pdf");
    encryptPDF(plain, work / name, {"user", "owner", {}});
    return name;
}

nlohmann::json reportIn(const ProgramResult& result) {
    return nlohmann::json::parse(result.output);
}

} // namespace quillorn::tests
