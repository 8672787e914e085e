#pragma once

namespace quillorn {

class ImageBrowserView;

/// Makes browsers known to screen readers: a list whose children are the headers and the items
/// that can be seen. Once for the whole program; more often does no harm.
void installAccessibleBrowser();

/// The children are others now.
void forgetAccessibleItems(ImageBrowserView& view);
void tellAccessibleSelection(ImageBrowserView& view);
/// Keys act on another item or header.
void tellAccessibleFocus(ImageBrowserView& view);

} // namespace quillorn
