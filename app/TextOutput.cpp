#include "app/TextOutput.h"

#include <algorithm>
#include <cstdio>

#include "platform/core/Text.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Window.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

namespace {

/// The text that an element shows; empty for one that shows none.
std::u16string TextOf(const platform::UIElement& element) {
    if (const auto* const block = dynamic_cast<const platform::TextBlock*>(&element)) {
        return block->Text();
    }
    if (const auto* const box = dynamic_cast<const platform::TextBox*>(&element)) {
        return box->Text();
    }
    return {};
}

void CollectRows(const platform::UIElement& element, std::vector<TextRow>& rows) {
    if (const auto* const framework = dynamic_cast<const platform::FrameworkElement*>(&element)) {
        const auto* const label = framework->Accessibility().LabeledBy;
        if (label != nullptr && label->Visibility() == platform::Visibility::Visible &&
            element.Visibility() == platform::Visibility::Visible) {
            rows.push_back({.label = TextOf(*label), .value = TextOf(element)});
        }
    }
    for (const auto* const child : element.Children()) {
        CollectRows(*child, rows);
    }
}

/// Why no row has a value.
const char* ReasonForNoValues() {
    const auto viewModel = MainViewModel::GetInstance();
    if (!viewModel->IsRpcInitialised()) {
        return "kelvane: the system service cannot be reached; start kelvane-service (see 'kelvane-service "
               "--help') and try "
               "again.";
    }
    if (!viewModel->IsSysInfoReadCompleted()) {
        return "kelvane: the system service did not give its record of system information; restart "
               "kelvane-service and try "
               "again.";
    }
    return "kelvane: the record of system information that the service gave cannot be used; the trace "
           "(KELVANE_TRACE=1) "
           "says why. Check that kelvane-service is of the same version as kelvane.";
}

}  // namespace

std::vector<TextRow> VisibleRows(const platform::UIElement& root) {
    std::vector<TextRow> rows;
    CollectRows(root, rows);
    return rows;
}

int PrintRows() {
    const auto& content = platform::Window::Current()->Content();
    const auto rows = content ? VisibleRows(*content) : std::vector<TextRow>();
    for (const auto& row : rows) {
        std::puts(platform::ToValidUtf8(row.label + (row.value.empty() ? u":" : u": ") + row.value).c_str());
    }
    std::fflush(stdout);
    const bool filled =
        std::any_of(rows.begin(), rows.end(), [](const TextRow& row) { return !row.value.empty(); });
    if (!filled) {
        std::fprintf(stderr, "%s\n", ReasonForNoValues());
    }
    return filled ? 0 : 1;
}

}  // namespace Kelvane
