#include "platform/office/bridge/OfficeServer.h"

#include "platform/office/engine/EnginePart.h"
#include "platform/office/engine/Strings.h"

#include <cerrno>
#include <com/sun/star/bridge/UnoUrlResolver.hpp>
#include <com/sun/star/lang/XMultiComponentFactory.hpp>
#include <com/sun/star/lang/XSingleComponentFactory.hpp>
#include <com/sun/star/loader/XImplementationLoader.hpp>
#include <com/sun/star/uno/XComponentContext.hpp>
#include <cppuhelper/bootstrap.hxx>
#include <cstring>
#include <fstream>
#include <rtl/bootstrap.hxx>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace quillorn::office {

namespace fs = std::filesystem;
using com::sun::star::bridge::UnoUrlResolver;
using com::sun::star::lang::XSingleComponentFactory;
using com::sun::star::loader::XImplementationLoader;
using com::sun::star::uno::Exception;
using com::sun::star::uno::Reference;
using com::sun::star::uno::UNO_QUERY;
using com::sun::star::uno::UNO_QUERY_THROW;
using com::sun::star::uno::XComponentContext;

namespace {

/// The engine tells nobody when it begins to listen.
constexpr std::chrono::milliseconds connectInterval{10};

/// It ends with this when it wants to be started again, as with some fresh profiles.
constexpr int wantsRestart = 81;
constexpr int mostStarts = 3;

/// Documents fetch nothing from elsewhere and run nothing; the engine keeps nothing for later. It
/// takes the profile for one that it has used before, in whatever version: at its first start
/// it would test how it draws, which takes three times as long as all the rest of the start.
constexpr const char* settings =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry" xmlns:xs="http://www.w3.org/2001/XMLSchema">
<item oor:path="/org.openoffice.Office.Common/Security/Scripting"><prop oor:name="BlockUntrustedRefererLinks" oor:op="fuse"><value>true</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Security/Scripting"><prop oor:name="DisableMacrosExecution" oor:op="fuse"><value>true</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Security/Scripting"><prop oor:name="MacroSecurityLevel" oor:op="fuse"><value>3</value></prop></item>
<item oor:path="/org.openoffice.Office.Writer/Content/Update"><prop oor:name="Link" oor:op="fuse"><value>2</value></prop></item>
<item oor:path="/org.openoffice.Office.Recovery/AutoSave"><prop oor:name="Enabled" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/History"><prop oor:name="PickListSize" oor:op="fuse"><value>0</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Misc"><prop oor:name="FirstRun" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Setup/Product"><prop oor:name="ooSetupLastVersion" oor:op="fuse"><value>999.9</value></prop></item>
</oor:items>
)";

/// What the installed engine calls its build; empty when it does not say.
std::string buildName() {
    constexpr std::string_view key = "buildid=";
    std::ifstream file(std::string(OfficeServer::programFolder) + "/versionrc");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key)) {
            return line.substr(key.size());
        }
    }
    return {};
}

bool writeText(const fs::path& path, std::string_view text) {
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    std::ofstream file(path);
    file << text;
    return static_cast<bool>(file.flush());
}

/// Makes a profile as the engine would leave one behind. In one where the name of its build is
/// missing it looks through extensions, and then wants to be started again.
bool writeProfile(const fs::path& profile) {
    return writeText(profile / "user" / "registrymodifications.xcu", settings) &&
           writeText(profile / "user" / "extensions" / "buildid", buildName());
}

} // namespace

int OfficeServer::launch(const std::string& pipe) {
    const std::string program = std::string(programFolder) + "/soffice.bin";
    std::vector<std::string> words = {
        program,
        "--headless",
        "--invisible",
        "--nologo",
        "--norestore",
        "--nodefault",
        "--nolockcheck",
        "--nofirststartwizard",
        "-env:UserInstallation=file://" + (m_folder / "profile").string(),
        "--accept=pipe,name=" + pipe + ";urp;StarOffice.ComponentContext"};
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    return ::posix_spawn(&m_process, program.c_str(), nullptr, nullptr, arguments.data(), environ);
}

bool OfficeServer::isAlive() {
    std::this_thread::sleep_for(connectInterval);
    return ::waitpid(m_process, &m_waitStatus, WNOHANG) == 0;
}

bool OfficeServer::loadPart(const Reference<XComponentContext>& engine) {
    try {
        const Reference<XImplementationLoader> loader(
            engine->getServiceManager()->createInstanceWithContext(
                "com.sun.star.loader.SharedLibrary", engine),
            UNO_QUERY_THROW);
        const Reference<XSingleComponentFactory> factory(
            loader->activate(rtl::OUString::createFromAscii(partName), {}, fileURL(m_part.string()),
                             {}),
            UNO_QUERY_THROW);
        m_conversion.set(factory->createInstanceWithContext(engine), UNO_QUERY);
    } catch (const Exception&) {
        m_conversion.clear(); // the library is not there, or the engine not any more
    }
    return m_conversion.is();
}

std::string OfficeServer::start(std::chrono::steady_clock::time_point deadline) {
    if (!writeProfile(m_folder / "profile")) {
        return "its profile cannot be written";
    }
    // Without the types of the office the client crashes when it meets one.
    rtl::Bootstrap::set("URE_MORE_TYPES",
                        unoText("file://" + std::string(programFolder) + "/types/offapi.rdb"));
    const Reference<XComponentContext> local = cppu::defaultBootstrap_InitialComponentContext();
    const auto resolver = UnoUrlResolver::create(local);
    // The folder is ours alone, and so is the name as long as sockets lie in it.
    const std::string pipe = "quillorn-" + std::to_string(::getpid());
    const rtl::OUString address =
        unoText("uno:pipe,name=" + pipe + ";urp;StarOffice.ComponentContext");
    for (int starts = 0; starts < mostStarts; ++starts) {
        if (const int error = launch(pipe); error != 0) {
            return std::string("it cannot be started: ") + std::strerror(error);
        }
        do {
            Reference<XComponentContext> engine;
            try {
                engine.set(resolver->resolve(address), UNO_QUERY);
            } catch (const Exception&) {
                // It does not listen yet.
                engine.clear();
            }
            if (engine.is() && loadPart(engine)) {
                return {};
            }
            if (engine.is() && isAlive()) {
                return "it does not load " + m_part.string();
            }
            if (std::chrono::steady_clock::now() > deadline) {
                return "it does not answer";
            }
        } while (isAlive());
        if (!WIFEXITED(m_waitStatus) || WEXITSTATUS(m_waitStatus) != wantsRestart) {
            break;
        }
    }
    return "it ended at its start";
}

} // namespace quillorn::office
