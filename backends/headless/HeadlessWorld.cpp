#include "backends/headless/HeadlessWorld.h"

#include "platform/resources/UserEnvironment.h"

namespace headless {

HeadlessWorld::HeadlessWorld(HeadlessOptions options)
    : m_options(std::move(options)),
      m_window(m_options.ViewSize, [this](std::u16string_view text) { m_clipboard = text; }),
      m_speech(m_options.Voices, m_options.HasSound, m_options.SoundsLast, m_loop) {
    if (m_options.LocaleName.empty()) {
        m_options.LocaleName = platform::LocaleNameFromEnvironment();
    }
    if (m_options.Languages.empty()) {
        m_options.Languages = platform::LanguagesFromEnvironment();
    }
    if (m_options.Architecture == platform::ProcessorArchitecture::Unknown) {
        m_options.Architecture = platform::MachineArchitecture();
    }
}

int HeadlessWorld::Run(platform::WorldClient& client) {
    m_client = &client;
    m_loop.Post([this] { m_client->Started(m_options.Words, m_options.Prelaunch); });
    m_loop.Run();
    return 0;
}

std::unique_ptr<platform::WindowPeer> HeadlessWorld::CreateWindow(platform::WindowClient& client) {
    return m_options.HasWindow ? m_window.CreatePeer(client, m_options.Insets) : nullptr;
}

}  // namespace headless
