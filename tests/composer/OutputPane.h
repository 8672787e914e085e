#pragma once

#include "composer/ImageViewSec.h"
#include "tests/fakes/FakePaneControls.h"
#include "tests/fakes/FakeThreads.h"
#include "tests/fakes/MemoryPreferences.h"
#include "tests/fakes/ScriptedAlerts.h"
#include "tests/fakes/TemporaryFolder.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace quillorn::tests {

/// The output pane with everything around it played: a home folder, a browser, sheets, and a
/// source pane whose pages a test drags over.
class OutputPane {
public:
    OutputPane();
    /// With other threads than one for all.
    OutputPane(MainThread& mainThread, LongWork& work);

    /// Pages labelled "a1", "a2", ... of a source named a, as dragged out of the source pane.
    void drag(const std::string& name, std::size_t count);
    /// Drops what was dragged before item `index`.
    void dropAt(std::size_t index);
    /// Makes a group with so many pages, labelled after the name's first letter: "a1", "a2", ...
    void addGroup(const std::string& name, std::size_t count);
    void select(const IndexSet& indexes) { controls.browser.select(indexes); }
    /// Moves items as a drag inside the browser does.
    void move(const IndexSet& indexes, std::size_t toIndex);

    /// The labels of a group's document.
    [[nodiscard]] std::vector<std::string> labels(std::size_t group) const;
    /// What the browser shows: "a.pdf: a1 a2 | b.pdf: blank".
    [[nodiscard]] std::string shown() const;
    [[nodiscard]] std::filesystem::path cache() const { return pane.workingFolder(); }
    [[nodiscard]] std::filesystem::path movies() const { return home / "Movies/Quillorn Folivane"; }

    TemporaryFolder home;
    FakePaneControls controls;
    FakeMenuItem deletePdfPage;
    FakeMenuItem changePDFName;
    FakeMenuItem iChangePDFName;
    FakeMenuItem rotateRight;
    FakeMenuItem iRotateRight;
    FakeMenuItem rotateLeft;
    FakeMenuItem iRotateLeft;
    FakeMenuItem saveMenu;
    FakeButton btnSave;
    FakeButton btnAddNewGroup;
    FakeButton btnSavePath;
    FakeSheet groupNameWindow;
    FakeTextField groupNameText;
    FakeSheet changeNameWindow;
    FakeTextField changeNameText;
    FakeTextField extentionName;
    FakeSheet saveToPDFWindow;
    FakeProgressSheet saveWindow;
    ScriptedAlerts alerts;
    ScriptedFilePanels filePanels;
    MemoryPreferences preferences;
    SameThread threads;
    ImmediateWork longWork;
    FakeStatusLine statusLine;
    FakeWorkspace workspace;
    FakeWindow mainWindow;
    DragPagesArray dragPagesArray;
    std::vector<std::unique_ptr<PDFDocument>> sources; ///< what the source pane keeps open
    ImageViewSec pane;

private:
    OutputPane(MainThread* mainThread, LongWork* work);
};

} // namespace quillorn::tests
