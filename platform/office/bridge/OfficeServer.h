#pragma once

#include <chrono>
#include <com/sun/star/frame/XDesktop2.hpp>
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
    /// `folder` is private to us and takes the profile.
    explicit OfficeServer(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    /// Starts the engine and connects to it. Returns why that failed, or nothing.
    [[nodiscard]] std::string start(std::chrono::steady_clock::time_point deadline);

    [[nodiscard]] const com::sun::star::uno::Reference<com::sun::star::frame::XDesktop2>&
    desktop() const {
        return m_desktop;
    }

    /// Where the engine is installed.
    static constexpr const char* programFolder = QUILLORN_OFFICE_FOLDER "/program";

    /// What everything in the engine is made with.
    [[nodiscard]] const com::sun::star::uno::Reference<com::sun::star::uno::XComponentContext>&
    context() const {
        return m_context;
    }

private:
    /// 0, or an errno value.
    int launch(const std::string& pipe);
    /// Waits a moment; false when the engine has ended meanwhile.
    [[nodiscard]] bool isAlive();

    std::filesystem::path m_folder;
    pid_t m_process = -1;
    int m_waitStatus = 0;
    com::sun::star::uno::Reference<com::sun::star::uno::XComponentContext> m_context;
    com::sun::star::uno::Reference<com::sun::star::frame::XDesktop2> m_desktop;
};

} // namespace quillorn::office
