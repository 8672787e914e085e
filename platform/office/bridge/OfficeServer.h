#pragma once

#include <chrono>
#include <com/sun/star/task/XJob.hpp>
#include <com/sun/star/uno/Reference.hxx>
#include <com/sun/star/uno/XComponentContext.hpp>
#include <filesystem>
#include <string>
#include <sys/types.h>

namespace quillorn::office {

/// The office engine as a child of this process, and our connection to it.
///
/// The engine gets a profile of its own, in which documents may fetch nothing, and listens
/// on a local socket. Whoever watches over this process ends both.
class OfficeServer {
public:
    /// `folder` is private to us and takes the profile, `part` is the library that the engine
    /// loads.
    OfficeServer(std::filesystem::path folder, std::filesystem::path part)
        : m_folder(std::move(folder)), m_part(std::move(part)) {}

    /// Starts the engine and connects to it. Returns why that failed, or nothing.
    [[nodiscard]] std::string start(std::chrono::steady_clock::time_point deadline);

    /// Our part of the engine.
    [[nodiscard]] const com::sun::star::uno::Reference<com::sun::star::task::XJob>&
    conversion() const {
        return m_conversion;
    }

    /// Where the engine is installed.
    static constexpr const char* programFolder = QUILLORN_OFFICE_FOLDER "/program";

private:
    /// 0, or an errno value.
    int launch(const std::string& pipe);
    /// Waits a moment; false when the engine has ended meanwhile.
    [[nodiscard]] bool isAlive();

    /// Lets the engine load our part; false when it does not.
    bool
    loadPart(const com::sun::star::uno::Reference<com::sun::star::uno::XComponentContext>& engine);

    std::filesystem::path m_folder;
    std::filesystem::path m_part;
    pid_t m_process = -1;
    int m_waitStatus = 0;
    com::sun::star::uno::Reference<com::sun::star::task::XJob> m_conversion;
};

} // namespace quillorn::office
