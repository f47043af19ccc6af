#include "backends/desktop/Player.h"

#include <pulse/error.h>
#include <pulse/simple.h>
#include <pulse/timeval.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "platform/core/Exception.h"
#include "platform/core/Text.h"

namespace desktop {

namespace {

struct FreeConnection {
    void operator()(pa_simple* connection) const { pa_simple_free(connection); }
};
using Connection = std::unique_ptr<pa_simple, FreeConnection>;

platform::Exception SoundFailure(int error) {
    return {platform::result::kFail,
            u"The sound system cannot be used: " + platform::FromUtf8(pa_strerror(error))};
}

Connection Connect(std::uint32_t sampleRate) {
    const pa_sample_spec format{.format = PA_SAMPLE_S16NE, .rate = sampleRate, .channels = 1};
    // A short buffer, so that a sound that is ended is silent at once.
    constexpr std::uint32_t kByDefault = static_cast<std::uint32_t>(-1);
    const pa_buffer_attr buffer{
        .maxlength = kByDefault,
        .tlength = static_cast<std::uint32_t>(pa_usec_to_bytes(100 * PA_USEC_PER_MSEC, &format)),
        .prebuf = 0,
        .minreq = kByDefault,
        .fragsize = kByDefault,
    };
    int error = 0;
    Connection connection(pa_simple_new(nullptr, "Kelvane", PA_STREAM_PLAYBACK, nullptr, "Speech", &format,
                                        nullptr, &buffer, &error));
    if (!connection) {
        throw SoundFailure(error);
    }
    return connection;
}

}  // namespace

/// One sound on its way to the ear: shared by its thread, its owner's handle and the player.
class Player::Sound {
  public:
    Sound(std::shared_ptr<const platform::SpeechSynthesisStream> stream,
          std::function<void(std::exception_ptr failure)> ended)
        : m_stream(std::move(stream)), m_ended(std::move(ended)) {}

    /// The sound's own thread.
    void Run() {
        std::exception_ptr failure;
        try {
            PlayToEnd();
        } catch (const platform::Exception&) {
            failure = std::current_exception();
        }
        {
            const std::lock_guard lock(m_mutex);
            if (!m_stopped) {
                m_ended(failure);
            }
            m_ended = nullptr;
        }
        m_finished.store(true);
    }

    /// Any thread, also from within the handler of the end. The handler is not called afterwards.
    void Stop() {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
        m_stop.notify_all();
    }

    bool IsFinished() const { return m_finished.load(); }

  private:
    void PlayToEnd() {
        const auto& samples = m_stream->Samples;
        if (samples.empty()) {
            return;
        }
        const auto connection = Connect(m_stream->SampleRate);
        const std::size_t chunk = std::max<std::size_t>(m_stream->SampleRate / 50, 1);
        int error = 0;
        for (std::size_t at = 0; at < samples.size(); at += chunk) {
            const auto count = std::min(chunk, samples.size() - at);
            if (pa_simple_write(connection.get(), &samples[at], count * sizeof(samples[at]), &error) < 0) {
                throw SoundFailure(error);
            }
            if (WaitForStop(std::chrono::microseconds(0))) {
                pa_simple_flush(connection.get(), nullptr);
                return;
            }
        }
        // Not pa_simple_drain: it could not be broken off.
        const auto unheard = pa_simple_get_latency(connection.get(), &error);
        if (WaitForStop(std::chrono::microseconds(unheard == static_cast<pa_usec_t>(-1) ? 0 : unheard))) {
            pa_simple_flush(connection.get(), nullptr);
        }
    }

    bool WaitForStop(std::chrono::microseconds atMost) {
        std::unique_lock lock(m_mutex);
        return m_stop.wait_for(lock, atMost, [this] { return m_stopped; });
    }

    const std::shared_ptr<const platform::SpeechSynthesisStream> m_stream;
    /// Held while the handler runs: the handler may destroy the playback, another thread has to wait.
    std::recursive_mutex m_mutex;
    std::condition_variable_any m_stop;
    std::function<void(std::exception_ptr failure)> m_ended;
    bool m_stopped = false;
    std::atomic<bool> m_finished = false;
};

class Player::Handle final : public platform::Playback {
  public:
    explicit Handle(std::shared_ptr<Sound> sound) : m_sound(std::move(sound)) {}
    ~Handle() override { m_sound->Stop(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

  private:
    std::shared_ptr<Sound> m_sound;
};

Player::~Player() {
    for (auto& running : m_running.With([](auto& all) { return std::exchange(all, {}); })) {
        running.sound->Stop();
        running.thread.join();
    }
}

std::unique_ptr<platform::Playback> Player::Play(
    std::shared_ptr<const platform::SpeechSynthesisStream> stream,
    std::function<void(std::exception_ptr failure)> ended) {
    auto sound = std::make_shared<Sound>(std::move(stream), std::move(ended));
    m_running.With([&](std::vector<Running>& all) {
        std::erase_if(all, [](Running& running) {
            if (running.sound->IsFinished()) {
                running.thread.join();
                return true;
            }
            return false;
        });
        all.push_back({sound, std::thread([sound] { sound->Run(); })});
    });
    return std::make_unique<Handle>(std::move(sound));
}

}  // namespace desktop
