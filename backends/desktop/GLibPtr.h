#pragma once

// Owning wrappers for the toolkit's handles. User-interface thread, except where a type's own rules allow
// more.

#include <gtk/gtk.h>

#include <memory>
#include <utility>

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

/// One connected signal; disconnects when it goes.
class Signal {
  public:
    Signal() = default;

    /// `handler` is a function or a captureless lambda with the signal's C signature, `data` its last
    /// argument.
    template <typename Handler>
    Signal(gpointer object, const char* name, Handler handler, gpointer data)
        : m_object(Share(G_OBJECT(object))),
          m_id(g_signal_connect(object, name, reinterpret_cast<GCallback>(+handler), data)) {}

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

/// A source of the main loop (an idle or time-out handler); removed when it goes. Its handler must reset it
/// before it returns G_SOURCE_REMOVE.
class SourceId {
  public:
    SourceId() = default;
    explicit SourceId(guint id) : m_id(id) {}
    SourceId(SourceId&& other) noexcept : m_id(std::exchange(other.m_id, 0)) {}
    SourceId& operator=(SourceId&& other) noexcept {
        std::swap(m_id, other.m_id);
        return *this;
    }
    ~SourceId() {
        if (m_id != 0) {
            g_source_remove(m_id);
        }
    }

    explicit operator bool() const { return m_id != 0; }

    /// The source is about to go by itself.
    void Release() { m_id = 0; }

  private:
    guint m_id = 0;
};

}  // namespace desktop
