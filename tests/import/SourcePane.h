#pragma once

#include "import/ImageViewFir.h"
#include "tests/fakes/FakeConversions.h"
#include "tests/fakes/FakePaneControls.h"
#include "tests/fakes/FakeThreads.h"
#include "tests/fakes/MemoryPreferences.h"
#include "tests/fakes/ScriptedAlerts.h"
#include "tests/fakes/TemporaryFolder.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quillorn::tests {

/// The source pane with everything around it played, and a home folder with a cache in it.
class SourcePane {
public:
    SourcePane();
    /// With other threads than one for all.
    SourcePane(MainThread& mainThread, WorkerThreads& workerThreads, LongWork& work);

    /// Writes a PDF into the home folder and returns its path.
    std::string pdf(const std::string& name, std::size_t pages);
    /// Writes a file that no converter looks into.
    std::string file(const std::string& name, const std::string& content = "content");
    /// A PDF that `userPassword` opens; without one everybody can, within `restrictions`.
    std::string encrypted(const std::string& name, const std::string& userPassword,
                          const std::vector<std::string>& restrictions = {});
    /// Drops files on the pane. Returns whether they were taken.
    bool drop(const std::vector<std::string>& paths);
    /// Takes files in as the open panel does.
    void open(const std::vector<std::string>& paths) { pane.addImagesWithPaths(paths, {}); }
    /// Expects the question whether a password is to be entered.
    void expectQuestion(const std::string& name, std::optional<AlertAnswer> answer);
    /// Lets the user type this into the password window.
    void typePassword(const std::string& password);

    /// "a.pdf: 1-a 2-a | b.png: b.png"
    [[nodiscard]] std::string shown() const;

    TemporaryFolder home;
    FakePaneControls controls;
    FakeWindow mainWindow;
    FakeSplitView splitView;
    FakeScreen mainScreen;
    FakeSheet passwordWindow;
    FakeTextField passwordText;
    FakeButton btnSave;
    FakeButton btnAddNewGroup;
    FakeButton btnOpenPDFFiles;
    ScriptedAlerts alerts;
    ScriptedFilePanels filePanels;
    MemoryPreferences preferences;
    SameThread threads;
    ImmediateWork longWork;
    FakeStatusLine statusLine;
    FakeConversions conversions;
    DragPagesArray dragPagesArray;
    ImageViewFir pane;

private:
    SourcePane(MainThread* mainThread, WorkerThreads* workerThreads, LongWork* work);
};

} // namespace quillorn::tests
