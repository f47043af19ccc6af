#include "backends/desktop/WindowIcon.h"

#include "backends/desktop/GLibPtr.h"
#include "platform/core/Exception.h"
#include "platform/resources/PackageFiles.h"

namespace desktop {

namespace {

/// Null for a file that the package does not have, or that is no picture.
GdkTexture* ReadPicture(const char* path) {
    try {
        const auto content = platform::ReadPackageFile(path).Content;
        GBytes* const bytes = g_bytes_new(content.data(), content.size());
        GdkTexture* const picture = gdk_texture_new_from_bytes(bytes, nullptr);
        g_bytes_unref(bytes);
        return picture;
    } catch (const platform::Exception&) {
        return nullptr;
    }
}

}  // namespace

void SetWindowIcon(GtkWindow* window) {
    GList* textures = nullptr;
    for (const auto* path : {"Assets/Icon16.png", "Assets/Icon64.png"}) {
        if (auto* const picture = ReadPicture(path)) {
            textures = g_list_append(textures, picture);
        }
    }
    gdk_toplevel_set_icon_list(GDK_TOPLEVEL(gtk_native_get_surface(GTK_NATIVE(window))), textures);
    g_list_free_full(textures, g_object_unref);
}

}  // namespace desktop
