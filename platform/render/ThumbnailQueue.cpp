#include "platform/render/ThumbnailQueue.h"

#include <algorithm>
#include <utility>

namespace quillorn {

namespace {

template <class Requests>
bool contains(const Requests& requests, const ThumbnailRequest& request) {
    return std::ranges::find(requests, request) != requests.end();
}

} // namespace

ThumbnailQueue::Requester ThumbnailQueue::add(Arrived arrived) {
    m_requesters[++m_last].arrived = std::move(arrived);
    return m_last;
}

void ThumbnailQueue::setWishes(Requester requester, const ThumbnailWishes& wishes) {
    State& state = m_requesters.at(requester);
    state.visible.assign(wishes.visible.begin(), wishes.visible.end());
    state.near.assign(wishes.near.begin(), wishes.near.end());
    state.taken.clear();
}

std::optional<ThumbnailRequest>
ThumbnailQueue::next(const std::function<bool(const ThumbnailRequest&)>& isNeeded) {
    auto request = nextOf(&State::visible, isNeeded);
    return request ? request : nextOf(&State::near, isNeeded);
}

std::optional<ThumbnailRequest>
ThumbnailQueue::nextOf(std::deque<ThumbnailRequest> State::*queue,
                       const std::function<bool(const ThumbnailRequest&)>& isNeeded) {
    for (auto& [requester, state] : m_requesters) {
        std::deque<ThumbnailRequest>& waiting = state.*queue;
        while (!waiting.empty()) {
            ThumbnailRequest request = std::move(waiting.front());
            waiting.pop_front();
            state.taken.push_back(request);
            if (isNeeded(request)) {
                return request;
            }
        }
    }
    return std::nullopt;
}

void ThumbnailQueue::putBack(const ThumbnailRequest& request) {
    for (auto& [requester, state] : m_requesters) {
        if (contains(state.taken, request)) {
            std::erase(state.taken, request);
            state.visible.push_front(request);
        }
    }
}

std::vector<ThumbnailQueue::Arrived> ThumbnailQueue::finish(const ThumbnailRequest& request) {
    std::vector<Arrived> listeners;
    for (auto& [requester, state] : m_requesters) {
        std::erase(state.taken, request);
        listeners.push_back(state.arrived);
    }
    return listeners;
}

bool ThumbnailQueue::isWished(const ThumbnailRequest& request) const {
    return std::ranges::any_of(m_requesters, [&request](const auto& entry) {
        const State& state = entry.second;
        return contains(state.taken, request) || contains(state.visible, request) ||
               contains(state.near, request);
    });
}

bool ThumbnailQueue::somethingWaits() const {
    return std::ranges::any_of(m_requesters, [](const auto& entry) {
        return !entry.second.visible.empty() || !entry.second.near.empty();
    });
}

} // namespace quillorn
