#pragma once

// Owning wrappers for the toolkit's handles. User-interface thread, except where a type's own rules allow
// more.

#include <memory>
#include <utility>

#include "backends/desktop/Callback.h"

namespace desktop {

template <auto Free>
struct FreeWith {
    template <typename T>
    void operator()(T* pointer) const {
        Free(pointer);
    }
};

/// One counted reference.
template <typename T>
using GObjectPtr = std::unique_ptr<T, FreeWith<g_object_unref>>;
using GCharPtr = std::unique_ptr<char, FreeWith<g_free>>;
using GErrorPtr = std::unique_ptr<GError, FreeWith<g_error_free>>;
using GVariantPtr = std::unique_ptr<GVariant, FreeWith<g_variant_unref>>;

/// A further reference to `object`; takes over a floating one.
template <typename T>
GObjectPtr<T> Share(T* object) {
    return GObjectPtr<T>(static_cast<T*>(g_object_ref_sink(object)));
}

/// One connected signal; the destructor disconnects it.
class Signal {
  public:
    Signal() = default;

    /// `handler` is a lambda without captures that has the signal's C signature, `data` its last argument.
    template <typename Handler>
    Signal(gpointer object, const char* name, Handler handler, gpointer data)
        : m_object(Share(G_OBJECT(object))), m_id(ConnectSignal(object, name, handler, data)) {}

    Signal(Signal&& other) noexcept
        : m_object(std::move(other.m_object)), m_id(std::exchange(other.m_id, 0)) {}
    Signal& operator=(Signal&& other) noexcept {
        std::swap(m_object, other.m_object);
        std::swap(m_id, other.m_id);
        return *this;
    }
    ~Signal() {
        if (m_id != 0 && g_signal_handler_is_connected(m_object.get(), m_id)) {
            g_signal_handler_disconnect(m_object.get(), m_id);
        }
    }

  private:
    GObjectPtr<GObject> m_object;
    gulong m_id = 0;
};

}  // namespace desktop
