#pragma once

#include "platform/print/WebError.h"
#include "platform/print/WebSession.h"

namespace quillorn {

/// Makes frames printable that the engine keeps in processes of their own, as it does with pages
/// of other machines inside a local one: on paper it leaves them empty. What such a frame shows is
/// put into it once more, as text of the page around it, so that it is laid out there.
///
/// The text is let in like a stranger: without scripts, and with an origin of its own, which sees
/// no file. Frames inside of frames are followed a few levels down. What is not there in time is
/// left out. Call it when no scripts run any more.
///
/// Fails only when the page as a whole has.
WebResult<void> takeInForeignFrames(WebSession& session, WebSession::Clock::time_point deadline);

} // namespace quillorn
