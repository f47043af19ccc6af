#include "backends/desktop/SleepMonitor.h"

#include <gio/gunixfdlist.h>
#include <unistd.h>

namespace desktop {

namespace {

constexpr const char* kName = "org.freedesktop.login1";
constexpr const char* kPath = "/org/freedesktop/login1";
constexpr const char* kInterface = "org.freedesktop.login1.Manager";

}  // namespace

struct SleepMonitor::Inhibitor {
    explicit Inhibitor(int token) : descriptor(token) {}
    ~Inhibitor() { close(descriptor); }
    Inhibitor(const Inhibitor&) = delete;
    Inhibitor& operator=(const Inhibitor&) = delete;

    const int descriptor;
};

SleepMonitor::SleepMonitor(platform::WorldClient& client) : m_client(client) {
    GetBus(
        G_BUS_TYPE_SYSTEM, m_cancellable.get(),
        [](GObject*, GAsyncResult* result, gpointer self) {
            const GObjectPtr<GDBusConnection> bus(g_bus_get_finish(result, nullptr));
            if (bus) {
                static_cast<SleepMonitor*>(self)->Connected(bus.get());
            }
        },
        this);
}

SleepMonitor::~SleepMonitor() {
    g_cancellable_cancel(m_cancellable.get());
    if (m_subscription != 0) {
        g_dbus_connection_signal_unsubscribe(m_bus.get(), m_subscription);
    }
}

void SleepMonitor::Connected(GDBusConnection* bus) {
    m_bus = Share(bus);
    m_subscription = SubscribeToBus(
        bus, {kName, kPath, kInterface, "PrepareForSleep"}, nullptr,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters,
           gpointer self) {
            if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(b)"))) {
                gboolean starting = FALSE;
                g_variant_get(parameters, "(b)", &starting);
                static_cast<SleepMonitor*>(self)->PrepareForSleep(starting);
            }
        },
        this);
    Inhibit();
}

void SleepMonitor::Inhibit() {
    CallBus(
        m_bus.get(), {kName, kPath, kInterface, "Inhibit"},
        g_variant_new("(ssss)", "sleep", g_get_application_name(), "Saving the log", "delay"), "(h)",
        G_DBUS_CALL_FLAGS_NO_AUTO_START, m_cancellable.get(),
        [](GObject* source, GAsyncResult* result, gpointer self) {
            // Fails as well when the monitor has been destroyed.
            GUnixFDList* list = nullptr;
            const GVariantPtr reply(g_dbus_connection_call_with_unix_fd_list_finish(G_DBUS_CONNECTION(source),
                                                                                    &list, result, nullptr));
            const GObjectPtr<GUnixFDList> descriptors(list);
            if (!reply || !descriptors) {
                return;
            }
            gint32 handle = -1;
            g_variant_get(reply.get(), "(h)", &handle);
            if (const int descriptor = g_unix_fd_list_get(descriptors.get(), handle, nullptr);
                descriptor >= 0) {
                static_cast<SleepMonitor*>(self)->m_inhibitor = std::make_shared<Inhibitor>(descriptor);
            }
        },
        this);
}

void SleepMonitor::PrepareForSleep(bool starting) {
    if (starting) {
        // The last copy of the token closes it: this one, or that of a suspension in progress.
        m_client.SleepAnnounced(
            [inhibitor = std::exchange(m_inhibitor, nullptr)]() mutable { inhibitor.reset(); });
    } else {
        Inhibit();
        m_client.Woken();
    }
}

}  // namespace desktop
