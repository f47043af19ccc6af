// Does not compile: the toolkit is given no function that an exception could leave.

#include "backends/desktop/GLibPtr.h"

void Connect(GtkButton* button) {
    g_signal_connect(button, "clicked", G_CALLBACK(+[](GtkButton*, gpointer) {}), nullptr);
}
