#include "source/networkSource.h"

#include "boardError.h"
#include "tunables.h"

#include "companions/release.h"

#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

namespace board {

namespace {

using companions::Release;
using Uri = std::unique_ptr<GstUri, Release<gst_uri_unref>>;
using Sample = std::unique_ptr<GstSample, Release<gst_sample_unref>>;
using Message = std::unique_ptr<GstMessage, Release<gst_message_unref>>;
using Error = std::unique_ptr<GError, Release<g_error_free>>;
using Bus = std::unique_ptr<GstBus, Release<gst_object_unref>>;
using Element = std::unique_ptr<GstElement, Release<gst_object_unref>>;

void dismantle(GstElement* pipeline) {
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
}
using Pipeline = std::unique_ptr<GstElement, Release<dismantle>>;

// An eventfd that the receiving thread counts up.
class Arrivals {
  public:
    Arrivals() : descriptor_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}
    Arrivals(const Arrivals&) = delete;
    Arrivals& operator=(const Arrivals&) = delete;
    ~Arrivals() {
        ::close(descriptor_);
    }

    bool add() const {
        const std::uint64_t one = 1;
        return ::write(descriptor_, &one, sizeof one) == sizeof one;
    }
    // Whether there were any; there are none afterwards.
    bool take() const {
        std::uint64_t count = 0;
        return ::read(descriptor_, &count, sizeof count) == sizeof count;
    }
    int descriptor() const {
        return descriptor_;
    }

  private:
    int descriptor_;
};

struct Scheme {
    const char* name;
    // Elements before the sink; "in" is the one that gets the address.
    const char* elements;
    const char* uriScheme; // what the element calls it
};

constexpr std::array<Scheme, 3> schemes{{
    {"udp", "udpsrc name=in", "udp"},
    {"rtp",
     "udpsrc name=in caps=\"application/x-rtp,media=video,encoding-name=MP2T,clock-rate=90000,payload=33\""
     " ! rtpjitterbuffer latency=100 ! rtpmp2tdepay",
     "udp"},
    {"srt", "srtsrc name=in keep-listening=true",
     "srt"}, // as a listener it serves one sender after the other
}};

BoardError cannotOpen(const std::string& address, const std::string& got) {
    return BoardError({"cannot open " + address,
                       "udp://ADDRESS:PORT, rtp://ADDRESS:PORT or srt://ADDRESS:PORT", got,
                       "check the address, and that no other program receives on it"});
}

class NetworkSource final : public PacketSource {
  public:
    NetworkSource(const std::string& address, const Scheme& scheme, const std::string& interface)
        : address_(address) {
        const std::string description =
            std::string(scheme.elements) +
            " ! appsink name=out sync=false max-buffers=" + std::to_string(tunables::networkBuffers);
        GError* error = nullptr;
        pipeline_.reset(gst_parse_launch(description.c_str(), &error));
        if (error != nullptr) {
            throw cannotOpen(address, Error(error)->message);
        }
        openInput(scheme, interface);
        openOutput();
        if (gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
            throw cannotOpen(address, errorText());
        }
    }

    Arrival read(std::span<std::uint8_t> buffer) override {
        if (taken_ == waiting_.size()) {
            if (!arrivals_.take()) {
                requireNoError();
            }
            waiting_.clear();
            taken_ = 0;
            while (waiting_.size() < buffer.size() && pull()) {
            }
        }
        const std::size_t bytes = std::min(buffer.size(), waiting_.size() - taken_);
        std::copy_n(waiting_.begin() + static_cast<std::ptrdiff_t>(taken_), bytes, buffer.begin());
        taken_ += bytes;
        return {bytes, false};
    }

    bool rewind() override {
        return false;
    }
    int descriptor() const override {
        return arrivals_.descriptor();
    }
    bool live() const override {
        return true;
    }

  private:
    void openInput(const Scheme& scheme, const std::string& interface) {
        const Element input(gst_bin_get_by_name(GST_BIN(pipeline_.get()), "in"));
        const std::string uri = scheme.uriScheme + address_.substr(address_.find("://"));
        g_object_set(input.get(), "uri", uri.c_str(), nullptr);
        if (std::strcmp(scheme.uriScheme, "udp") == 0) {
            g_object_set(input.get(), "buffer-size", tunables::receiveBuffer, nullptr);
            if (!interface.empty()) {
                g_object_set(input.get(), "multicast-iface", interface.c_str(), nullptr);
            }
        }
    }

    void openOutput() {
        sink_.reset(gst_bin_get_by_name(GST_BIN(pipeline_.get()), "out"));
        GstAppSinkCallbacks callbacks{};
        callbacks.new_sample = [](GstAppSink*, gpointer arrivals) {
            return static_cast<const Arrivals*>(arrivals)->add() ? GST_FLOW_OK : GST_FLOW_ERROR;
        };
        gst_app_sink_set_callbacks(GST_APP_SINK(sink_.get()), &callbacks, &arrivals_, nullptr);
    }

    bool pull() {
        const Sample sample(gst_app_sink_try_pull_sample(GST_APP_SINK(sink_.get()), 0));
        if (!sample) {
            return false;
        }
        GstBuffer* bytes = gst_sample_get_buffer(sample.get());
        GstMapInfo map{};
        if (gst_buffer_map(bytes, &map, GST_MAP_READ)) {
            waiting_.insert(waiting_.end(), map.data, map.data + map.size);
            gst_buffer_unmap(bytes, &map);
        }
        // What does not fit now stays queued, and the descriptor must stay readable for it.
        return arrivals_.add();
    }

    // The first error that the pipeline has reported; empty for none.
    std::string errorText() const {
        const Bus bus(gst_element_get_bus(pipeline_.get()));
        const Message message(gst_bus_pop_filtered(bus.get(), GST_MESSAGE_ERROR));
        if (!message) {
            return {};
        }
        GError* error = nullptr;
        gst_message_parse_error(message.get(), &error, nullptr);
        return Error(error)->message;
    }

    void requireNoError() const {
        if (const std::string got = errorText(); !got.empty()) {
            throw BoardError({"cannot receive " + address_, "a transport stream", got,
                              "check the sender and the network"});
        }
    }

    std::string address_;
    Arrivals arrivals_; // outlives the receiving thread
    Pipeline pipeline_;
    Element sink_;
    std::vector<std::uint8_t> waiting_;
    std::size_t taken_ = 0;
};

} // namespace

std::unique_ptr<PacketSource> openNetworkSource(const std::string& address, const std::string& interface) {
    const std::string name = address.substr(0, address.find("://"));
    const auto scheme =
        std::find_if(schemes.begin(), schemes.end(), [&](const Scheme& known) { return name == known.name; });
    if (scheme == schemes.end()) {
        throw cannotOpen(address, "\"" + name + "://\"");
    }
    const Uri uri(gst_uri_from_string(address.c_str()));
    if (!uri || gst_uri_get_port(uri.get()) == GST_URI_NO_PORT) {
        throw cannotOpen(address, "no port");
    }
    return std::make_unique<NetworkSource>(address, *scheme, interface);
}

} // namespace board
