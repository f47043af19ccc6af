#include "backends/desktop/Player.h"

#include <pulse/context.h>
#include <pulse/error.h>
#include <pulse/stream.h>
#include <pulse/thread-mainloop.h>
#include <pulse/timeval.h>

#include <algorithm>
#include <utility>

#include "backends/desktop/Callback.h"
#include "backends/desktop/SharedLibrary.h"
#include "platform/core/Exception.h"
#include "platform/core/Text.h"

namespace desktop {

namespace {

/// The functions of libpulse that are used. Throws a platform exception where it is not installed.
class PulseFunctions {
    const SharedLibrary m_library{"libpulse.so.0"};

  public:
    decltype(&pa_context_connect) ContextConnect = m_library["pa_context_connect"];
    decltype(&pa_context_disconnect) ContextDisconnect = m_library["pa_context_disconnect"];
    decltype(&pa_context_errno) ContextErrno = m_library["pa_context_errno"];
    decltype(&pa_context_get_state) ContextGetState = m_library["pa_context_get_state"];
    decltype(&pa_context_new) ContextNew = m_library["pa_context_new"];
    decltype(&pa_context_set_state_callback) ContextSetStateCallback =
        m_library["pa_context_set_state_callback"];
    decltype(&pa_context_unref) ContextUnref = m_library["pa_context_unref"];
    decltype(&pa_operation_cancel) OperationCancel = m_library["pa_operation_cancel"];
    decltype(&pa_operation_unref) OperationUnref = m_library["pa_operation_unref"];
    decltype(&pa_stream_connect_playback) StreamConnectPlayback = m_library["pa_stream_connect_playback"];
    decltype(&pa_stream_disconnect) StreamDisconnect = m_library["pa_stream_disconnect"];
    decltype(&pa_stream_drain) StreamDrain = m_library["pa_stream_drain"];
    decltype(&pa_stream_get_state) StreamGetState = m_library["pa_stream_get_state"];
    decltype(&pa_stream_new) StreamNew = m_library["pa_stream_new"];
    decltype(&pa_stream_set_state_callback) StreamSetStateCallback =
        m_library["pa_stream_set_state_callback"];
    decltype(&pa_stream_set_write_callback) StreamSetWriteCallback =
        m_library["pa_stream_set_write_callback"];
    decltype(&pa_stream_unref) StreamUnref = m_library["pa_stream_unref"];
    decltype(&pa_stream_write) StreamWrite = m_library["pa_stream_write"];
    decltype(&pa_strerror) Strerror = m_library["pa_strerror"];
    decltype(&pa_threaded_mainloop_free) ThreadedMainloopFree = m_library["pa_threaded_mainloop_free"];
    decltype(&pa_threaded_mainloop_get_api) ThreadedMainloopGetApi =
        m_library["pa_threaded_mainloop_get_api"];
    decltype(&pa_threaded_mainloop_in_thread) ThreadedMainloopInThread =
        m_library["pa_threaded_mainloop_in_thread"];
    decltype(&pa_threaded_mainloop_lock) ThreadedMainloopLock = m_library["pa_threaded_mainloop_lock"];
    decltype(&pa_threaded_mainloop_new) ThreadedMainloopNew = m_library["pa_threaded_mainloop_new"];
    decltype(&pa_threaded_mainloop_start) ThreadedMainloopStart = m_library["pa_threaded_mainloop_start"];
    decltype(&pa_threaded_mainloop_stop) ThreadedMainloopStop = m_library["pa_threaded_mainloop_stop"];
    decltype(&pa_threaded_mainloop_unlock) ThreadedMainloopUnlock = m_library["pa_threaded_mainloop_unlock"];
    decltype(&pa_usec_to_bytes) UsecToBytes = m_library["pa_usec_to_bytes"];
};

const PulseFunctions& Pulse() {
    static const PulseFunctions library;
    return library;
}

}  // namespace

class Player::Mainloop {
  public:
    Mainloop() : m_loop(Pulse().ThreadedMainloopNew()) { Pulse().ThreadedMainloopStart(m_loop); }
    ~Mainloop() {
        Pulse().ThreadedMainloopStop(m_loop);
        Pulse().ThreadedMainloopFree(m_loop);
    }
    Mainloop(const Mainloop&) = delete;
    Mainloop& operator=(const Mainloop&) = delete;

    pa_mainloop_api* Api() const { return Pulse().ThreadedMainloopGetApi(m_loop); }

    /// Any thread; the loop's own holds the lock already.
    template <typename Use>
    void WithLock(Use use) const {
        const bool ownThread = Pulse().ThreadedMainloopInThread(m_loop) != 0;
        if (!ownThread) {
            Pulse().ThreadedMainloopLock(m_loop);
        }
        use();
        if (!ownThread) {
            Pulse().ThreadedMainloopUnlock(m_loop);
        }
    }

  private:
    pa_threaded_mainloop* m_loop;
};

namespace {

struct Unref {
    void operator()(pa_context* context) const {
        Pulse().ContextSetStateCallback(context, nullptr, nullptr);
        Pulse().ContextDisconnect(context);
        Pulse().ContextUnref(context);
    }
    void operator()(pa_stream* stream) const {
        Pulse().StreamSetStateCallback(stream, nullptr, nullptr);
        Pulse().StreamSetWriteCallback(stream, nullptr, nullptr);
        Pulse().StreamDisconnect(stream);
        Pulse().StreamUnref(stream);
    }
    void operator()(pa_operation* operation) const {
        Pulse().OperationCancel(operation);
        Pulse().OperationUnref(operation);
    }
};

/// One sound. Everything but construction happens on the loop's thread or under its lock.
class Sound {
  public:
    Sound(std::shared_ptr<const platform::SpeechSynthesisStream> data,
          std::function<void(std::exception_ptr failure)> ended)
        : m_data(std::move(data)), m_ended(std::move(ended)) {}

    ~Sound() {
        if (m_start != nullptr) {
            m_api->defer_free(m_start);
        }
    }
    Sound(const Sound&) = delete;
    Sound& operator=(const Sound&) = delete;

    /// The loop's thread does the rest, so that a failure is never reported before this returns.
    void Start(pa_mainloop_api* api) {
        m_api = api;
        const auto connect = [](pa_mainloop_api*, pa_defer_event* start, void* self) {
            static_cast<Sound*>(self)->m_api->defer_enable(start, 0);
            static_cast<Sound*>(self)->Connect();
        };
        m_start = api->defer_new(api, Callback(connect), this);
    }

  private:
    void Connect() {
        m_context.reset(Pulse().ContextNew(m_api, "Kelvane"));
        Pulse().ContextSetStateCallback(
            m_context.get(),
            Callback([](pa_context*, void* self) { static_cast<Sound*>(self)->ContextChanged(); }), this);
        // A failure changes the state as well, and may have destroyed this sound.
        Pulse().ContextConnect(m_context.get(), nullptr, PA_CONTEXT_NOFLAGS, nullptr);
    }

    void ContextChanged() {
        switch (Pulse().ContextGetState(m_context.get())) {
            case PA_CONTEXT_READY:
                m_data->Samples.empty() ? End(nullptr) : OpenStream();
                break;
            case PA_CONTEXT_FAILED:
            case PA_CONTEXT_TERMINATED:
                Fail();
                break;
            default:
                break;
        }
    }

    void OpenStream() {
        const pa_sample_spec format{.format = PA_SAMPLE_S16NE, .rate = m_data->SampleRate, .channels = 1};
        m_stream.reset(Pulse().StreamNew(m_context.get(), "Speech", &format, nullptr));
        if (!m_stream) {
            Fail();
            return;
        }
        const auto changed = [](pa_stream* stream, void* self) {
            if (Pulse().StreamGetState(stream) == PA_STREAM_FAILED) {
                static_cast<Sound*>(self)->Fail();
            }
        };
        const auto write = [](pa_stream*, std::size_t room, void* self) {
            static_cast<Sound*>(self)->Write(room);
        };
        Pulse().StreamSetStateCallback(m_stream.get(), Callback(changed), this);
        Pulse().StreamSetWriteCallback(m_stream.get(), Callback(write), this);
        // A short buffer, so that a sound that is ended is silent at once.
        constexpr auto kByDefault = static_cast<std::uint32_t>(-1);
        const pa_buffer_attr buffer{
            .maxlength = kByDefault,
            .tlength = static_cast<std::uint32_t>(Pulse().UsecToBytes(100 * PA_USEC_PER_MSEC, &format)),
            .prebuf = kByDefault,
            .minreq = kByDefault,
            .fragsize = kByDefault,
        };
        Pulse().StreamConnectPlayback(m_stream.get(), nullptr, &buffer, PA_STREAM_ADJUST_LATENCY, nullptr,
                                      nullptr);
    }

    void Write(std::size_t room) {
        const auto& samples = m_data->Samples;
        constexpr auto kSampleSize = sizeof(samples[0]);
        const auto count = std::min(room / kSampleSize, samples.size() - m_written);
        if (count > 0) {
            Pulse().StreamWrite(m_stream.get(), &samples[m_written], count * kSampleSize, nullptr, 0,
                                PA_SEEK_RELATIVE);
            m_written += count;
        }
        if (m_written == samples.size() && !m_drain) {
            const auto drained = [](pa_stream*, int heard, void* self) {
                auto* const sound = static_cast<Sound*>(self);
                heard != 0 ? sound->End(nullptr) : sound->Fail();
            };
            m_drain.reset(Pulse().StreamDrain(m_stream.get(), Callback(drained), this));
        }
    }

    void Fail() {
        End(std::make_exception_ptr(platform::Exception(
            platform::result::kFail,
            u"The sound system cannot be used: " +
                platform::FromUtf8(Pulse().Strerror(Pulse().ContextErrno(m_context.get()))))));
    }

    /// The handler may destroy this sound: nothing may follow.
    void End(std::exception_ptr failure) {
        if (const auto ended = std::exchange(m_ended, nullptr)) {
            ended(std::move(failure));
        }
    }

    const std::shared_ptr<const platform::SpeechSynthesisStream> m_data;
    std::function<void(std::exception_ptr failure)> m_ended;
    pa_mainloop_api* m_api = nullptr;
    pa_defer_event* m_start = nullptr;
    std::size_t m_written = 0;
    std::unique_ptr<pa_context, Unref> m_context;
    std::unique_ptr<pa_stream, Unref> m_stream;
    std::unique_ptr<pa_operation, Unref> m_drain;
};

class Handle final : public platform::Playback {
  public:
    Handle(std::shared_ptr<Player::Mainloop> mainloop, std::unique_ptr<Sound> sound)
        : m_mainloop(std::move(mainloop)), m_sound(std::move(sound)) {
        m_mainloop->WithLock([this] { m_sound->Start(m_mainloop->Api()); });
    }
    ~Handle() override {
        m_mainloop->WithLock([this] { m_sound.reset(); });
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

  private:
    std::shared_ptr<Player::Mainloop> m_mainloop;
    std::unique_ptr<Sound> m_sound;
};

}  // namespace

void Player::Load() {
    Pulse();
}

std::unique_ptr<platform::Playback> Player::Play(
    std::shared_ptr<const platform::SpeechSynthesisStream> stream,
    std::function<void(std::exception_ptr failure)> ended) {
    std::shared_ptr<Mainloop> mainloop;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_mainloop) {
            m_mainloop = std::make_shared<Mainloop>();
        }
        mainloop = m_mainloop;
    }
    return std::make_unique<Handle>(std::move(mainloop),
                                    std::make_unique<Sound>(std::move(stream), std::move(ended)));
}

}  // namespace desktop
