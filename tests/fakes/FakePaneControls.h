#pragma once

#include "panes/BrowserPane.h"
#include "tests/fakes/FakeControls.h"
#include "tests/fakes/FakeImageBrowser.h"

namespace quillorn::tests {

/// The browser and the controls that every pane has.
struct FakePaneControls {
    FakeImageBrowser browser;
    FakeSlider slider;
    FakeMenuItem clearMenu;
    FakeMenuItem zoomIn;
    FakeMenuItem zoomOut;
    FakeMenuItem collapseAll;
    FakeMenuItem expandAll;
    FakeMenuItem closePDFFile;
    FakeMenuItem iClearMenu;
    FakeMenuItem iZoomIn;
    FakeMenuItem iZoomOut;
    FakeMenuItem iCollapseAll;
    FakeMenuItem iClosePDFFile;

    [[nodiscard]] BrowserPaneOutlets outlets() {
        return BrowserPaneOutlets{browser,     slider,       clearMenu,    zoomIn,     zoomOut,
                                  collapseAll, expandAll,    closePDFFile, iClearMenu, iZoomIn,
                                  iZoomOut,    iCollapseAll, iClosePDFFile};
    }
};

} // namespace quillorn::tests
