#pragma once

// How the toolkit calls this backend. Its frames are C and cannot be unwound: an exception that passed
// through them would end the process without a word. So every function that the toolkit is given is made by
// Callback, and the functions that take one are used through the wrappers below. The compiler refuses them
// elsewhere.

#include <gio/gio.h>
#include <gtk/gtk.h>

#include "platform/core/EnterLayer.h"

namespace desktop {

namespace detail {

template <typename Handler, typename Result, typename... Args>
constexpr auto CallbackOf(Result (*)(Args...)) {
    return +[](Args... args) -> Result {
        return platform::EnterLayer([&]() -> Result { return Handler{}(args...); });
    };
}

}  // namespace detail

/// A C function that calls `handler`, a lambda without captures, as platform::EnterLayer does.
template <typename Handler>
constexpr auto Callback(Handler handler) {
    return detail::CallbackOf<Handler>(+handler);
}

// Each of these takes such a lambda, with the C signature that the toolkit asks for, and `data` for its last
// argument. The results are the toolkit's.

template <typename Handler>
gulong ConnectSignal(gpointer object, const char* name, Handler handler, gpointer data) {
    return g_signal_connect(object, name, reinterpret_cast<GCallback>(Callback(handler)), data);
}

template <typename Handler>
guint AddIdle(int priority, Handler handler, gpointer data) {
    return g_idle_add_full(priority, Callback(handler), data, nullptr);
}

/// `destroy` is called when the source is destroyed.
template <typename Handler, typename Destroy>
guint AddTimeout(int priority, guint milliseconds, Handler handler, gpointer data, Destroy destroy) {
    return g_timeout_add_full(priority, milliseconds, Callback(handler), data, Callback(destroy));
}

template <typename Handler, typename Destroy>
guint AddTickCallback(GtkWidget* widget, Handler handler, gpointer data, Destroy destroy) {
    return gtk_widget_add_tick_callback(widget, Callback(handler), data, Callback(destroy));
}

template <typename Handler>
void GetBus(GBusType type, GCancellable* cancellable, Handler handler, gpointer data) {
    g_bus_get(type, cancellable, Callback(handler), data);
}

/// A method or signal of an object on a bus.
struct BusMember {
    const char* Owner;
    const char* Path;
    const char* Interface;
    const char* Name;
};

template <typename Handler>
void CallBus(GDBusConnection* bus, const BusMember& method, GVariant* arguments, const char* replyType,
             GDBusCallFlags flags, GCancellable* cancellable, Handler handler, gpointer data) {
    g_dbus_connection_call_with_unix_fd_list(bus, method.Owner, method.Path, method.Interface, method.Name,
                                             arguments, G_VARIANT_TYPE(replyType), flags, -1, nullptr,
                                             cancellable, Callback(handler), data);
}

/// `detail` is what the first argument of the signal must be, or null.
template <typename Handler>
guint SubscribeToBus(GDBusConnection* bus, const BusMember& signal, const char* detail, Handler handler,
                     gpointer data) {
    return g_dbus_connection_signal_subscribe(bus, signal.Owner, signal.Interface, signal.Name, signal.Path,
                                              detail, G_DBUS_SIGNAL_FLAGS_NONE, Callback(handler), data,
                                              nullptr);
}

}  // namespace desktop

#undef g_signal_connect
#undef g_signal_connect_after
#undef g_signal_connect_swapped
#pragma GCC poison g_signal_connect g_signal_connect_after g_signal_connect_swapped g_signal_connect_data
#pragma GCC poison g_signal_connect_object g_signal_connect_closure g_signal_add_emission_hook
#pragma GCC poison g_idle_add g_idle_add_full g_idle_add_once g_timeout_add g_timeout_add_full \
    g_timeout_add_once
#pragma GCC poison g_timeout_add_seconds g_timeout_add_seconds_full g_source_set_callback g_object_weak_ref
#pragma GCC poison g_main_context_invoke g_main_context_invoke_full gtk_widget_add_tick_callback g_bus_get
#pragma GCC poison g_dbus_connection_call g_dbus_connection_call_with_unix_fd_list
#pragma GCC poison g_dbus_connection_signal_subscribe
