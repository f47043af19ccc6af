// What the application's first window costs when it is written for the toolkit alone: as many texts in the
// same fonts, and as many buttons with icons of the desktop, drawn by the processor; no page, no service, no
// log. The baseline of `kelvane-bench start`.

#include <gtk/gtk.h>

namespace {

constexpr const char* kStyle =
    ".small { font-size: 0.88em; } .title { font-size: 0.9em; } .strong { font-weight: 600; }"
    ".hero { font-size: 1.55em; font-weight: 700; } .value { font-family: monospace; font-size: 1.08em; }";

struct Text {
    const char* text;
    const char* style;
    /// Of a button after the text; null for none.
    const char* icon;
};
constexpr Text kTexts[] = {
    {"Kelvane", "title", nullptr},
    {"Product name", "small", nullptr},
    {"Book 14 Business", "hero", "edit-copy-symbolic"},
    {"Laptop by its maker", "small", nullptr},
    {"Product number", "small", nullptr},
    {"4T8Z9EA#ABU", "value", "edit-copy-symbolic"},
    {"Serial number", "small", "view-reveal-symbolic"},
    {"5CG1234XYZ", "value", "edit-copy-symbolic"},
    {"", "value", "audio-volume-high-symbolic"},
};
constexpr const char* kButtons[] = {"Copy all", "Show details", "System report", "USB Type-C", "Diagnostics"};

void AddButton(GtkWidget* box, const char* icon, const char* text) {
    GtkWidget* const content = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    gtk_box_append(GTK_BOX(content), gtk_image_new_from_icon_name(icon));
    if (text != nullptr) {
        GtkWidget* const label = gtk_label_new(text);
        gtk_widget_add_css_class(label, "strong");
        gtk_box_append(GTK_BOX(content), label);
    }
    GtkWidget* const button = gtk_button_new();
    gtk_button_set_child(GTK_BUTTON(button), content);
    gtk_box_append(GTK_BOX(box), button);
}

void Show(GtkApplication* application, gpointer) {
    GtkCssProvider* const style = gtk_css_provider_new();
    gtk_css_provider_load_from_data(style, kStyle, -1);
    gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(style),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(style);

    GtkWidget* const rows = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    for (const auto& text : kTexts) {
        GtkWidget* const row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
        GtkWidget* const label = gtk_label_new(text.text);
        gtk_widget_add_css_class(label, text.style);
        gtk_box_append(GTK_BOX(row), label);
        if (text.icon != nullptr) {
            AddButton(row, text.icon, nullptr);
        }
        gtk_box_append(GTK_BOX(rows), row);
    }
    GtkWidget* const buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    for (const auto* text : kButtons) {
        AddButton(buttons, "edit-copy-symbolic", text);
    }
    gtk_box_append(GTK_BOX(rows), buttons);
    GtkWidget* const window = gtk_application_window_new(application);
    gtk_window_set_child(GTK_WINDOW(window), rows);
    gtk_window_present(GTK_WINDOW(window));
}

}  // namespace

int main(int argc, char** argv) {
    g_setenv("GDK_DEBUG", "gl-disable", TRUE);
    g_setenv("GSK_RENDERER", "cairo", TRUE);
    GtkApplication* const application =
        gtk_application_new("org.kelvane.PlainWindow", G_APPLICATION_NON_UNIQUE);
    g_signal_connect(application, "activate", G_CALLBACK(Show), nullptr);
    const int status = g_application_run(G_APPLICATION(application), argc, argv);
    g_object_unref(application);
    return status;
}
