#pragma once

#include "platform/render/Thumbnail.h"

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace quillorn {

/// What somebody wants to have drawn now, most wanted first.
struct ThumbnailWishes {
    std::vector<ThumbnailRequest> visible;
    std::vector<ThumbnailRequest> near; ///< drawn when nothing visible is left to draw
};

/// Whose turn it is: everybody's visible pages before anybody's near ones. One thread.
class ThumbnailQueue {
public:
    using Requester = int;
    using Arrived = std::function<void(const ThumbnailRequest&)>;

    [[nodiscard]] Requester add(Arrived arrived);
    void remove(Requester requester) { m_requesters.erase(requester); }
    void setWishes(Requester requester, const ThumbnailWishes& wishes);

    /// Takes the next wish out that `isNeeded`. It stays wished for until `finish` or until its
    /// requester wishes for something else.
    [[nodiscard]] std::optional<ThumbnailRequest>
    next(const std::function<bool(const ThumbnailRequest&)>& isNeeded);
    /// Puts a wish that was taken out back to the front.
    void putBack(const ThumbnailRequest& request);
    /// Ends a wish. Returns whom to tell of it: copies, because listeners may come and go when
    /// told.
    [[nodiscard]] std::vector<Arrived> finish(const ThumbnailRequest& request);

    [[nodiscard]] bool isWished(const ThumbnailRequest& request) const;
    /// Whether something was not taken out yet.
    [[nodiscard]] bool somethingWaits() const;

private:
    struct State {
        Arrived arrived;
        std::deque<ThumbnailRequest> visible;
        std::deque<ThumbnailRequest> near;
        std::vector<ThumbnailRequest> taken;
    };

    [[nodiscard]] std::optional<ThumbnailRequest>
    nextOf(std::deque<ThumbnailRequest> State::*queue,
           const std::function<bool(const ThumbnailRequest&)>& isNeeded);

    std::map<Requester, State> m_requesters;
    Requester m_last = 0;
};

} // namespace quillorn
