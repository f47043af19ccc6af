#include "backends/desktop/WindowIcon.h"

#include "backends/desktop/GLibPtr.h"
#include "platform/resources/PackageFiles.h"

namespace desktop {

void SetWindowIcon(GtkWindow* window) {
    GList* textures = nullptr;
    for (const auto* path : {"Assets/Icon16.png", "Assets/Icon64.png"}) {
        const auto content = platform::ReadPackageFile(path).Content;
        GBytes* const bytes = g_bytes_new(content.data(), content.size());
        // Null for a file that is no picture; the window then has one size less.
        if (auto* const texture = gdk_texture_new_from_bytes(bytes, nullptr)) {
            textures = g_list_append(textures, texture);
        }
        g_bytes_unref(bytes);
    }
    gdk_toplevel_set_icon_list(GDK_TOPLEVEL(gtk_native_get_surface(GTK_NATIVE(window))), textures);
    g_list_free_full(textures, g_object_unref);
}

}  // namespace desktop
