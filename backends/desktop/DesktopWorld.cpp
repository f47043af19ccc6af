#include "backends/desktop/DesktopWorld.h"

#include "backends/desktop/DesktopWindow.h"
#include "backends/desktop/Loop.h"
#include "backends/desktop/Picture.h"
#include "backends/desktop/SessionClient.h"
#include "backends/desktop/Speech.h"
#include "platform/core/Text.h"
#include "platform/resources/UserEnvironment.h"

namespace desktop {

namespace {

class GtkWorld final : public DesktopWorld {
  public:
    explicit GtkWorld(DesktopOptions options) : m_session(std::move(options), m_loop) {}

    platform::EventLoop& Loop() override { return m_loop; }

    int Run(platform::WorldClient& client) override {
        const int status = m_session.Run(client);
        m_loop.Close();
        return status;
    }

    std::unique_ptr<platform::WindowPeer> CreateWindow(platform::WindowClient& client) override {
        auto window = std::make_unique<DesktopWindow>(m_session.Application(), client);
        m_window = window.get();
        return window;
    }

    void SetClipboardText(std::u16string_view text) override {
        gdk_clipboard_set_text(gdk_display_get_clipboard(gdk_display_get_default()),
                               platform::ToValidUtf8(text).c_str());
    }

    void ShowNotification(platform::ToastNotification toast) override { m_session.Notify(std::move(toast)); }

    platform::SpeechEngine& Speech() override { return *m_speech; }
    std::string LocaleName() override { return m_locale; }
    std::vector<std::u16string> Languages() override { return m_languages; }
    platform::ProcessorArchitecture Architecture() override { return platform::MachineArchitecture(); }

    void SavePicture(std::string path, std::function<void(std::string error)> done) override {
        if (m_window == nullptr) {
            done("there is no window");
            return;
        }
        desktop::SavePicture(*m_window, std::move(path), std::move(done));
    }

  private:
    const std::string m_locale = platform::LocaleNameFromEnvironment();
    const std::vector<std::u16string> m_languages = platform::LanguagesFromEnvironment();
    desktop::Loop m_loop;
    SessionClient m_session;
    const std::unique_ptr<platform::SpeechEngine> m_speech = NewSpeechEngine(m_languages.front());
    /// The program's one window; the layer destroys it after the loop has ended.
    DesktopWindow* m_window = nullptr;
};

}  // namespace

std::unique_ptr<DesktopWorld> CreateDesktopWorld(DesktopOptions options) {
    return std::make_unique<GtkWorld>(std::move(options));
}

}  // namespace desktop
