#include "backends/desktop/Picture.h"

#include "backends/desktop/DesktopWindow.h"

namespace desktop {

namespace {

/// Waits for frames until one shows the window in its final size, then writes it.
class PendingPicture {
  public:
    PendingPicture(DesktopWindow& window, std::string path, std::function<void(std::string)> done)
        : m_window(window), m_path(std::move(path)), m_done(std::move(done)) {
        // No half-way colours.
        g_object_set(gtk_settings_get_default(), "gtk-enable-animations", FALSE, nullptr);
        auto* const widget = GTK_WIDGET(m_window.Widget());
        AddTickCallback(
            widget,
            [](GtkWidget*, GdkFrameClock*, gpointer self) -> gboolean {
                return static_cast<PendingPicture*>(self)->Frame();
            },
            this, [](gpointer self) { delete static_cast<PendingPicture*>(self); });
    }

  private:
    /// The callback runs before layout and drawing of its frame: what it sees is the frame before.
    gboolean Frame() {
        constexpr int kFramesToSettle = 3;
        m_settled = m_window.IsResizing() ? 0 : m_settled + 1;
        if (m_settled < kFramesToSettle) {
            return G_SOURCE_CONTINUE;
        }
        m_done(Write());
        return G_SOURCE_REMOVE;
    }

    std::string Write() {
        auto* const widget = GTK_WIDGET(m_window.Widget());
        const GObjectPtr<GdkPaintable> paintable(gtk_widget_paintable_new(widget));
        auto* const snapshot = gtk_snapshot_new();
        gdk_paintable_snapshot(paintable.get(), snapshot, gtk_widget_get_width(widget),
                               gtk_widget_get_height(widget));
        const std::unique_ptr<GskRenderNode, FreeWith<gsk_render_node_unref>> node(
            gtk_snapshot_free_to_node(snapshot));
        if (!node) {
            return "the window is not on the screen";
        }
        const GObjectPtr<GdkTexture> texture(
            gsk_renderer_render_texture(gtk_native_get_renderer(GTK_NATIVE(widget)), node.get(), nullptr));
        if (gdk_texture_save_to_png(texture.get(), m_path.c_str()) == FALSE) {
            return "cannot write " + m_path;
        }
        return {};
    }

    DesktopWindow& m_window;
    std::string m_path;
    std::function<void(std::string)> m_done;
    int m_settled = 0;
};

}  // namespace

void SavePicture(DesktopWindow& window, std::string path, std::function<void(std::string error)> done) {
    // Owned by the window's frame callback.
    new PendingPicture(window, std::move(path), std::move(done));
}

}  // namespace desktop
