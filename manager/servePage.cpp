#include "servePage.h"

#include "documents/documentReader.h"
#include "exchange/rotation.h"
#include "tunables.h"
#include "waiting.h"
#include "web/api.h"
#include "web/livePicture.h"
#include "web/wallClock.h"
#include "web/webServer.h"

#include "companions/stopSignals.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <utility>

namespace manager {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class PageService {
  public:
    PageService(Endpoints& endpoints, ServedAddress& address, const std::function<void()>& tellSharing)
        : exchange(endpoints.requests, endpoints.documents, endpoints.services,
                   {.replied = [](std::string_view) {},
                    .refused = [&](std::string_view) { giveUpAsked(); },
                    .answered = [&](const Request& request, std::string_view text) { take(request, text); },
                    .strayed = [&](std::string_view text) { takeStray(text); },
                    .shared = tellSharing},
                   now),
          server(address, {.answer =
                               [&](const WebRequest& request) {
                                   return answerApi(request, live, rotation, wall.at(now), now);
                               },
                           .firstEvent = [&] { return firstEvent(); }}) {}

    void waitAndStep() {
        wait();
        now = Clock::now();
        live.setForward(wall.follow(std::chrono::system_clock::now(), now));
        server.step();
        watch();
        exchange.step(now);
        ask();
        const ServiceCondition condition = exchange.condition(now);
        live.observe(condition.state, std::chrono::floor<milliseconds>(now - condition.since),
                     watchedSince ? std::optional(wall.at(*watchedSince)) : std::nullopt, wall.at(now));
        publish();
    }

    // Stops the feed, as nobody looks any more, if the service answers in time.
    void leave() {
        const Time until = now + tunables::farewell;
        if (const auto off = rotation.last()) {
            exchange.giveUp(now);
            exchange.take(*off);
        }
        while (!exchange.idle() && !exchange.isLost() && now < until) {
            auto items = exchange.pollItems();
            pollUntil(items, std::min(exchange.wakeUp().value_or(until), until));
            now = Clock::now();
            exchange.step(now);
            exchange.giveUp(now); // whatever stood before the "off"
        }
    }

  private:
    void wait() const {
        const auto items = exchange.pollItems();
        std::array<zmq::pollitem_t, items.size() + 3> all{};
        zmq::pollitem_t* const own = std::copy(items.begin(), items.end(), all.begin());
        own[0] = {nullptr, companions::stopDescriptor(), ZMQ_POLLIN, 0};
        own[1] = {nullptr, server.workDescriptor(), ZMQ_POLLIN, 0};
        own[2] = {nullptr, server.goneDescriptor(), ZMQ_POLLIN, 0};
        pollUntil(all, wakeUp());
    }

    Time wakeUp() const {
        Time until = Clock::now() + tunables::listTime; // for what is observed each second
        const auto notLaterThan = [&](const std::optional<Time>& time) {
            until = std::min(until, time.value_or(until));
        };
        notLaterThan(exchange.wakeUp());
        if (exchange.idle()) {
            notLaterThan(rotation.wakeUp(now));
        }
        if (exchange.acknowledged()) {
            notLaterThan(exchange.lastProgress() + tunables::answerPatience);
        }
        if (newsSince) {
            notLaterThan(publishTime());
        }
        if (const auto patience = server.patience()) {
            notLaterThan(Clock::now() + *patience);
        }
        return until;
    }

    void watch() {
        const bool isWatched = server.streams() > 0;
        if (isWatched != watchedSince.has_value()) {
            watchedSince = isWatched ? std::optional(now) : std::nullopt;
        }
        rotation.watch(isWatched, now);
    }

    // One request at a time, and none behind it: what is due when it is over is decided then.
    void ask() {
        if (exchange.isLost()) {
            giveUpAsked();
            exchange.abandon(now);
        }
        if (exchange.acknowledged() && now - exchange.lastProgress() >= tunables::answerPatience) {
            giveUpAsked();
            exchange.giveUp(now);
        }
        if (exchange.idle()) {
            if (const auto order = rotation.next(now)) {
                asked = order->documents > 0 ? std::optional(order->request) : std::nullopt;
                askedAt = now;
                exchange.take(*order);
                exchange.step(now);
            }
        }
    }

    void giveUpAsked() {
        if (asked) {
            rotation.unanswered(*asked, now);
            lastUnanswered = std::exchange(asked, std::nullopt);
            lastUnansweredAt = askedAt;
        }
    }

    void take(const Request& request, std::string_view text) {
        asked.reset();
        rotation.answered(request, now);
        live.take(request, text, wall.at(now), std::chrono::floor<milliseconds>(now - askedAt));
    }

    // What has been waited for too long comes with the stream, behind the next request.
    void takeStray(std::string_view text) {
        if (lastUnanswered && lastUnanswered->dataStream == documentStream(text)) {
            rotation.answered(*lastUnanswered, now);
            live.take(*lastUnanswered, text, wall.at(now),
                      std::chrono::floor<milliseconds>(now - lastUnansweredAt));
            lastUnanswered.reset();
        }
    }

    // Waits a little behind the first news, for what comes together with it. Who has just opened the page
    // waits for nothing else.
    Time publishTime() const {
        const bool isOpening = watchedSince && now < *watchedSince + tunables::openingTime;
        return std::max(lastPublished + (isOpening ? tunables::settleTime : tunables::publishTime),
                        *newsSince + tunables::settleTime);
    }

    void publish() {
        if (live.hasNews()) {
            newsSince = newsSince.value_or(now);
        }
        if (newsSince && now >= publishTime()) {
            const std::string change = live.change(wall.at(now));
            if (server.streams() > 0) {
                send(eventText("change", live.version(), change));
            }
            newsSince.reset();
            lastPublished = now;
        } else if (now >= lastSent + tunables::heartbeat) {
            send(":\n\n");
        }
    }

    void send(std::string text) {
        server.publish(std::make_shared<const std::string>(std::move(text)));
        lastSent = now;
    }

    // Made once for all that begin at the same time.
    EventText firstEvent() {
        const SharedText everything = live.everything(wall.at(now));
        if (everything != firstOf) {
            firstOf = everything;
            first = std::make_shared<const std::string>(eventText("picture", live.version(), *everything));
        }
        return first;
    }

    Time now = Clock::now();
    WallClock wall{std::chrono::system_clock::now(), now};
    LivePicture live{wall.at(now)};
    Rotation rotation{now};
    Exchange exchange;
    WebServer server;

    std::optional<Request> asked; // and not answered
    Time askedAt{};
    std::optional<Request> lastUnanswered;
    Time lastUnansweredAt{};
    std::optional<Time> watchedSince;
    std::optional<Time> newsSince;
    Time lastPublished{};
    Time lastSent{};
    SharedText firstOf;
    EventText first;
};

} // namespace

void servePage(Endpoints& endpoints, const std::string& address,
               const std::function<void(std::string_view)>& say, const std::function<void()>& tellSharing) {
    ServedAddress served(address);
    PageService service(endpoints, served, tellSharing);
    say("the page is at " + served.url());
    while (!companions::stopRequested()) {
        service.waitAndStep();
    }
    service.leave();
}

} // namespace manager
