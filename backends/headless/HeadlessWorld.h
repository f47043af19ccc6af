#pragma once

#include "backends/headless/HeadlessLoop.h"
#include "backends/headless/HeadlessSpeech.h"
#include "backends/headless/HeadlessWindow.h"
#include "platform/world/World.h"

namespace headless {

/// What the world is to be like.
struct HeadlessOptions {
    /// The words of the first start.
    std::vector<std::string> Words{};
    bool Prelaunch = false;
    bool HasWindow = true;
    platform::Size ViewSize{.Width = 640, .Height = 480};
    platform::OverlayInsets Insets{};
    std::vector<platform::VoiceInformation> Voices{};
    bool HasSound = true;
    /// Sounds go on until HeadlessSpeech::EndSounds.
    bool SoundsLast = false;
    /// Empty: from the environment, as POSIX says.
    std::string LocaleName{};
    /// Empty: from the environment.
    std::vector<std::u16string> Languages{};
    /// Unknown: this machine's.
    platform::ProcessorArchitecture Architecture = platform::ProcessorArchitecture::Unknown;
};

/// A world without a screen: the product's text output runs in it, and tests ask it what a person would
/// perceive.
class HeadlessWorld final : public platform::World {
  public:
    explicit HeadlessWorld(HeadlessOptions options);

    platform::EventLoop& Loop() override { return m_loop; }
    int Run(platform::WorldClient& client) override;
    std::unique_ptr<platform::WindowPeer> CreateWindow(platform::WindowClient& client) override;
    void SetClipboardText(std::u16string_view text) override { m_clipboard = text; }
    void ShowNotification(platform::ToastNotification toast) override {
        m_notifications.push_back(std::move(toast));
    }
    platform::SpeechEngine& Speech() override { return m_speech; }
    std::string LocaleName() override { return m_options.LocaleName; }
    std::vector<std::u16string> Languages() override { return m_options.Languages; }
    platform::ProcessorArchitecture Architecture() override { return m_options.Architecture; }

    /// User-interface thread.
    const std::u16string& ClipboardText() const { return m_clipboard; }
    /// All since the start.
    const std::vector<platform::ToastNotification>& Notifications() const { return m_notifications; }
    HeadlessWindow& Window() { return m_window; }
    HeadlessSpeech& Spoken() { return m_speech; }

    /// While Run runs: what later starts, sleep and waking are reported to.
    platform::WorldClient& Client() { return *m_client; }

  private:
    HeadlessOptions m_options;
    HeadlessLoop m_loop;
    HeadlessWindow m_window;
    HeadlessSpeech m_speech;
    std::u16string m_clipboard;
    std::vector<platform::ToastNotification> m_notifications;
    platform::WorldClient* m_client = nullptr;
};

}  // namespace headless
