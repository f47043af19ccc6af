#include "backends/desktop/Display.h"

#include <gio/gio.h>

#include <clocale>

#include "backends/desktop/ColorScheme.h"
#include "backends/desktop/GLibPtr.h"

namespace desktop {

namespace {

/// An environment variable that has a value of ours while the scope lives, unless the user has set it.
class VariableScope {
  public:
    VariableScope(const char* name, const char* value) : m_name(g_getenv(name) == nullptr ? name : nullptr) {
        if (m_name != nullptr) {
            g_setenv(m_name, value, TRUE);
        }
    }
    ~VariableScope() {
        if (m_name != nullptr) {
            g_unsetenv(m_name);
        }
    }
    VariableScope(const VariableScope&) = delete;
    VariableScope& operator=(const VariableScope&) = delete;

  private:
    const char* m_name;
};

/// False where the libraries would start a private bus, which no other program uses.
bool HasSessionBus() {
    const GCharPtr socket(g_build_filename(g_get_user_runtime_dir(), "bus", nullptr));
    if (g_getenv("DBUS_SESSION_BUS_ADDRESS") == nullptr &&
        g_file_test(socket.get(), G_FILE_TEST_EXISTS) == FALSE) {
        return false;
    }
    // Never released: the libraries share the connection while somebody holds it, and connect anew otherwise.
    static const auto* const bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    return bus != nullptr;
}

}  // namespace

bool DisplayAvailable() {
    VerifyColorScheme();
    // Texts by the user's locale; numbers keep their plain form, which markup is read by.
    std::setlocale(LC_ALL, "");
    std::setlocale(LC_NUMERIC, "C");
    gtk_disable_setlocale();
    g_set_prgname("org.kelvane.Kelvane");
    g_set_application_name("Kelvane");

    if (!HasSessionBus()) {
        // Both would complain on the console, or start a bus.
        g_setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", TRUE);
        g_setenv("GTK_A11Y", "none", FALSE);
    }
    // The style sheet says all of the look: the toolkit's theme would take a sixth of a start to be read, and
    // the icon theme with it, only to be overridden. It stays set: the toolkit looks again when a setting
    // changes.
    g_setenv("GTK_THEME", "Empty", TRUE);
    // Drawing by the processor starts in half the time and memory, and the window is small and rarely drawn.
    const VariableScope noGl("GDK_DEBUG", "gl-disable");
    if (gtk_init_check() == FALSE) {
        return false;
    }
    // The same as GSK_RENDERER=cairo, for this process alone.
    if (g_getenv("GSK_RENDERER") == nullptr) {
        g_object_set_data(G_OBJECT(gdk_display_get_default()), "gsk-renderer", const_cast<char*>("cairo"));
    }
    return true;
}

}  // namespace desktop
