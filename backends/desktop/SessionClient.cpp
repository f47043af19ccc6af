#include "backends/desktop/SessionClient.h"

#include "backends/desktop/Loop.h"
#include "platform/core/StandardError.h"
#include "platform/core/Text.h"

namespace desktop {

namespace {

constexpr const char* kApplicationId = "org.kelvane.Kelvane";

/// The action by which a second process hands its start to the first.
constexpr const char* kStartAction = "start";

/// The desktop entry's actions. A desktop calls these over the bus; the entry's commands are for those that
/// do not.
constexpr const char* kHotkeyAction = "hotkey";
constexpr const char* kHiddenAction = "hide-identifiers";

/// The action of the notification's button, and the notification's own name.
constexpr const char* kNotificationAction = "act-on-notification";
constexpr const char* kNotification = "message";

GApplicationFlags FlagsFor(const DesktopOptions& options) {
    auto flags = static_cast<unsigned>(G_APPLICATION_HANDLES_OPEN);
    if (!options.SingleInstance) {
        flags |= G_APPLICATION_NON_UNIQUE;
    }
    if (options.Background) {
        flags |= G_APPLICATION_IS_SERVICE;
    }
    return static_cast<GApplicationFlags>(flags);
}

}  // namespace

SessionClient::SessionClient(DesktopOptions options, Loop& loop)
    : m_options(std::move(options)),
      m_loop(loop),
      m_application(gtk_application_new(kApplicationId, FlagsFor(m_options))) {
    // The program has no resources; asked for them, the toolkit waits for the icon theme first.
    g_application_set_resource_base_path(G_APPLICATION(m_application.get()), nullptr);
    g_object_set(m_application.get(), "register-session", TRUE, nullptr);
    AddStartAction();
    // Any word makes a start one by the hotkey.
    AddAction(kHotkeyAction, [](SessionClient& self) { self.Started({kHotkeyAction}, false); });
    AddAction(kHiddenAction, [](SessionClient& self) { self.StartHidden(); });
    AddAction(kNotificationAction, [](SessionClient& self) {
        if (const auto act = std::exchange(self.m_notified, nullptr)) {
            act();
        } else {
            // An earlier run's notification has started this one.
            self.Started({}, false);
        }
    });
}

template <typename Act>
void SessionClient::AddAction(const char* name, Act) {
    const GObjectPtr<GSimpleAction> action(g_simple_action_new(name, nullptr));
    m_signals.emplace_back(
        action.get(), "activate",
        [](GSimpleAction*, GVariant*, gpointer self) { Act{}(*static_cast<SessionClient*>(self)); }, this);
    g_action_map_add_action(G_ACTION_MAP(m_application.get()), G_ACTION(action.get()));
}

void SessionClient::AddStartAction() {
    const GObjectPtr<GSimpleAction> action(g_simple_action_new(kStartAction, G_VARIANT_TYPE_STRING_ARRAY));
    m_signals.emplace_back(
        action.get(), "activate",
        [](GSimpleAction*, GVariant* parameter, gpointer self) {
            std::vector<std::string> words;
            GVariantIter iterator;
            g_variant_iter_init(&iterator, parameter);
            const char* word = nullptr;
            while (g_variant_iter_next(&iterator, "&s", &word) != FALSE) {
                words.emplace_back(word);
            }
            static_cast<SessionClient*>(self)->Started(words, false);
        },
        this);
    g_action_map_add_action(G_ACTION_MAP(m_application.get()), G_ACTION(action.get()));
}

void SessionClient::StartHidden() {
    // A window of its own, as on the command line: this process's may show identifiers.
    const GCharPtr program(g_file_read_link("/proc/self/exe", nullptr));
    std::string option = "--hide-identifiers";
    char* arguments[] = {program.get(), option.data(), nullptr};
    GError* error = nullptr;
    if (g_spawn_async(nullptr, arguments, nullptr, G_SPAWN_DEFAULT, nullptr, nullptr, nullptr, &error) ==
        FALSE) {
        const GErrorPtr owned(error);
        platform::WriteStandardError(
            {"kelvane: no window without identifiers could be opened: ", error->message});
    }
    if (!m_wasStarted && m_client != nullptr) {
        // The bus started this process for the action alone.
        m_client->EndRequested();
    }
}

void SessionClient::Notify(platform::ToastNotification toast) {
    auto* const application = G_APPLICATION(m_application.get());
    m_notified = std::move(toast.Activated);
    if (toast.Text.empty()) {
        g_application_withdraw_notification(application, kNotification);
        return;
    }
    const GObjectPtr<GNotification> notification(g_notification_new(g_get_application_name()));
    g_notification_set_body(notification.get(), platform::ToValidUtf8(toast.Text).c_str());
    if (!toast.ActionText.empty()) {
        g_notification_add_button(notification.get(), platform::ToValidUtf8(toast.ActionText).c_str(),
                                  ("app." + std::string(kNotificationAction)).c_str());
    }
    g_application_send_notification(application, kNotification, notification.get());
}

int SessionClient::Run(platform::WorldClient& client) {
    m_client = &client;
    auto* const application = G_APPLICATION(m_application.get());
    GError* error = nullptr;
    if (g_application_register(application, nullptr, &error) == FALSE) {
        const GErrorPtr owned(error);
        platform::WriteStandardError({"kelvane: cannot join the session: ", error->message});
        return 1;
    }
    std::string name = kApplicationId;
    char* arguments[] = {name.data(), nullptr};
    if (g_application_get_is_remote(application) != FALSE) {
        HandOver();
        // The run ends before it begins, but takes leave of the bus.
        const Signal end(
            application, "handle-local-options", [](GApplication*, GVariantDict*, gpointer) { return 0; },
            this);
        return g_application_run(application, 1, arguments);
    }

    m_signals.emplace_back(
        application, "activate",
        [](GApplication*, gpointer data) {
            // The first one is this process's own start.
            auto* const self = static_cast<SessionClient*>(data);
            self->Started(std::exchange(self->m_options.Words, {}), false);
        },
        this);
    m_signals.emplace_back(
        application, "open",
        [](GApplication*, gpointer files, int count, const char*, gpointer self) {
            for (int index = 0; index < count; ++index) {
                const GCharPtr uri(g_file_get_uri(static_cast<GFile**>(files)[index]));
                static_cast<SessionClient*>(self)->Started({uri.get()}, false);
            }
        },
        this);
    m_signals.emplace_back(
        application, "query-end",
        [](GtkApplication*, gpointer self) { static_cast<SessionClient*>(self)->m_client->EndRequested(); },
        this);
    m_loop.OnQuit([application] { g_application_quit(application); });
    m_colorScheme.emplace();
    m_textScale.emplace();
    m_sleepMonitor.emplace(client);
    if (m_options.Background) {
        m_loop.Post([this] { Started({}, true); });
    }

    // The layer ends the run (EventLoop::Quit), not the last window.
    g_application_hold(application);
    const int status = g_application_run(application, 1, arguments);

    m_sleepMonitor.reset();
    m_textScale.reset();
    m_colorScheme.reset();
    m_signals.clear();
    m_client = nullptr;
    return status;
}

void SessionClient::HandOver() {
    std::vector<GCharPtr> owned;
    std::vector<const char*> words;
    for (const auto& word : m_options.Words) {
        owned.emplace_back(g_utf8_make_valid(word.data(), static_cast<gssize>(word.size())));
        words.push_back(owned.back().get());
    }
    // With the token that lets the running program's window come to the front.
    g_action_group_activate_action(G_ACTION_GROUP(m_application.get()), kStartAction,
                                   g_variant_new_strv(words.data(), static_cast<gssize>(words.size())));
    g_dbus_connection_flush_sync(g_application_get_dbus_connection(G_APPLICATION(m_application.get())),
                                 nullptr, nullptr);
}

void SessionClient::Started(const std::vector<std::string>& words, bool prelaunch) {
    if (m_client != nullptr) {
        m_wasStarted = m_wasStarted || !prelaunch;
        m_client->Started(words, prelaunch);
    }
}

}  // namespace desktop
