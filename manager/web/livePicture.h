// What the page shows: the picture, the documents behind it, and what the service does.
#pragma once

#include "exchange/exchange.h"
#include "picture/picture.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace manager {

// A text that several answers send; made once.
using SharedText = std::shared_ptr<const std::string>;

// The newest document of a name (nameOf).
struct SeenDocument {
    SharedText text; // as it came
    std::string json;
    PictureTime time{};
    std::chrono::milliseconds answerTime{}; // from the request to the document
    bool isNew = true;                      // since the last change
};

// Knows what has been told of it: a change is all that is new since the one before. Times are of the wall
// clock and never go back.
class LivePicture {
  public:
    explicit LivePicture(PictureTime now)
        : serviceSince(now), streamSince(now), toldService(serviceJson()), toldStream(streamJson()) {}

    // A document that answers the request.
    void take(const Request& request, std::string_view text, PictureTime now,
              std::chrono::milliseconds answerTime);

    // What the service does by now, and since when; somebody has watched since `watchedSince`, if anybody
    // does. To be called each second.
    void observe(ServiceState state, std::chrono::milliseconds lasting,
                 std::optional<PictureTime> watchedSince, PictureTime now);

    // The clock of these times has been set forward by so much: nobody has waited for that long.
    void setForward(std::chrono::milliseconds step) {
        lastDocument += step;
    }

    // Whether a change would tell anything.
    bool hasNews() const;

    // Everything as JSON, but for events that the next change will tell.
    SharedText everything(PictureTime now);

    // What is new as JSON; from then on it is no longer.
    std::string change(PictureTime now);

    // Of the last change.
    std::int64_t version() const {
        return changes;
    }
    const Picture& picture() const {
        return known;
    }
    const std::map<std::string, SeenDocument, std::less<>>& documents() const {
        return seen;
    }

  private:
    enum class StreamState { none, running, stale };

    void observeService(ServiceState state, PictureTime now);
    void observeStream(std::optional<PictureTime> watchedSince, PictureTime now);
    std::string serviceJson() const;
    std::string streamJson() const;

    Picture known;
    std::map<std::string, SeenDocument, std::less<>> seen;
    ServiceState serviceState = ServiceState::absent;
    PictureTime serviceSince;
    bool serviceWentTold = false;
    StreamState streamState = StreamState::none;
    PictureTime streamSince;
    PictureTime lastDocument{};
    bool streamWentTold = false;

    // What has been told.
    std::int64_t changes = 0;
    Version toldVersion = 0;
    std::string toldService;
    std::string toldStream;
    std::set<int> toldPids;
    std::set<int> toldServices;

    SharedText kept; // everything(), while nothing is new and its time is not old
    PictureTime keptSince{};
};

} // namespace manager
