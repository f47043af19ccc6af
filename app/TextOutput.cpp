#include "app/TextOutput.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "app/CommandLine.h"
#include "platform/core/StandardError.h"
#include "platform/core/StandardOutput.h"
#include "platform/core/Text.h"
#include "platform/resources/ResourceLoader.h"
#include "platform/world/Application.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Navigation.h"
#include "platform/xaml/Window.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

namespace {

/// The keys that the values have in JSON, by the names of the elements that show them. They never change.
struct JsonKey {
    std::u16string_view element;
    const char* key;
};
constexpr JsonKey kJsonKeys[] = {
    {u"SysInfoValue0", "productName"},        {u"SysInfoValue1", "productNumber"},
    {u"SysInfoValue2", "processor"},          {u"SysInfoValue3", "memory"},
    {u"SysInfoValue4", "operatingSystem"},    {u"SysInfoValue5", "firmwareVersion"},
    {u"SysInfoValue6", "systemBoard"},        {u"SerialNumber", "serialNumber"},
    {u"SysInfoValue8", "buildIdentifier"},    {u"BiosPasswordValue", "biosPassword"},
    {u"UsbTypeCValue1", "usbStandard"},       {u"UsbTypeCValue2", "powerDelivery"},
    {u"UsbTypeCValue3", "displayPortOutput"}, {u"UsbTypeCValue4", "thunderboltOrUsb4"},
    {u"UsbTypeCValue5", "charging"},          {u"UsbTypeCValue6", "maximumPower"},
};

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

void CollectRows(const platform::UIElement& element, std::vector<VisibleRow>& rows) {
    if (const auto* const framework = dynamic_cast<const platform::FrameworkElement*>(&element)) {
        const auto* const label = framework->Accessibility().LabeledBy;
        if (label != nullptr && label->Visibility() == platform::Visibility::Visible &&
            element.Visibility() == platform::Visibility::Visible) {
            rows.push_back({.name = framework->Name(), .label = TextOf(*label), .value = TextOf(element)});
        }
    }
    for (const auto* const child : element.Children()) {
        CollectRows(*child, rows);
    }
}

std::vector<VisibleRow> RowsOfWindow() {
    const auto& content = platform::Window::Current()->Content();
    return content ? VisibleRows(*content) : std::vector<VisibleRow>();
}

bool HasValues(const std::vector<VisibleRow>& rows) {
    return std::any_of(rows.begin(), rows.end(), [](const VisibleRow& row) { return !row.value.empty(); });
}

/// A line for each row. What would forge rows or steer the terminal becomes a blank.
std::string TextLines(const std::vector<VisibleRow>& rows) {
    std::string lines;
    for (const auto& row : rows) {
        auto line = row.label + (row.value.empty() ? u":" : u": ") + row.value;
        std::replace_if(line.begin(), line.end(), platform::SteersTerminal, u' ');
        lines += platform::ToValidUtf8(line) + "\n";
    }
    return lines;
}

/// {"productName": "...", ...}: the values as they are shown; those that are not known are left out.
std::string JsonObject(const std::vector<VisibleRow>& rows) {
    std::string object;
    for (const auto& row : rows) {
        const auto* const found = std::find_if(std::begin(kJsonKeys), std::end(kJsonKeys),
                                               [&](const JsonKey& key) { return key.element == row.name; });
        if (found != std::end(kJsonKeys) && !row.value.empty()) {
            object += object.empty() ? "" : ", ";
            object += std::string("\"") + found->key + "\": " + platform::ToJson(row.value);
        }
    }
    return "{" + object + "}";
}

/// Returns false when the output cannot be written, which has been said.
bool Write(OutputFormat format, const std::vector<VisibleRow>& main,
           const std::vector<VisibleRow>& usbTypeC) {
    if (format == OutputFormat::Json) {
        return platform::WriteStandardOutput(kProgram.Name, "{\"systemInformation\": " + JsonObject(main) +
                                                                ", \"usbTypeC\": " + JsonObject(usbTypeC) +
                                                                "}\n");
    }
    std::string text = TextLines(main);
    if (HasValues(usbTypeC)) {
        const auto heading = platform::ResourceLoader::GetForCurrentView()->GetString(u"UsbTypeCTitle/Text");
        text += "\n" + platform::ToValidUtf8(heading) + "\n" + TextLines(usbTypeC);
    }
    return platform::WriteStandardOutput(kProgram.Name, text);
}

/// Why no row has a value, and the way out.
const char* ReasonForNoValues() {
    const auto viewModel = MainViewModel::GetInstance();
    if (!viewModel->IsRpcInitialised()) {
        return "the system service cannot be reached; start kelvane-service (see 'kelvane-service --help') "
               "and try again.";
    }
    if (!viewModel->IsSysInfoReadCompleted()) {
        return "the system service did not give its record of system information; restart kelvane-service "
               "and try again.";
    }
    return "the record of system information that the service gave cannot be used (KELVANE_TRACE=1 shows "
           "why); check that "
           "kelvane-service is of the same version as kelvane.";
}

}  // namespace

std::vector<VisibleRow> VisibleRows(const platform::UIElement& root) {
    std::vector<VisibleRow> rows;
    CollectRows(root, rows);
    return rows;
}

void WritePages(OutputFormat format, std::function<void(int status)> done) {
    platform::Application::WhenIdle([format, done = std::move(done)] {
        const auto main = RowsOfWindow();
        if (!HasValues(main)) {
            Write(format, main, {});
            platform::WriteStandardError({"kelvane: ", ReasonForNoValues()});
            done(1);
            return;
        }
        if (!MainViewModel::GetInstance()->IsUsbTypeCInfoReadCompleted()) {
            done(Write(format, main, {}) ? 0 : 1);
            return;
        }
        try {
            std::dynamic_pointer_cast<platform::Frame>(platform::Window::Current()->Content())
                ->Navigate(u"Kelvane.USBTypeCPage");
        } catch (...) {
            // Ends the application; what is known is not lost.
            Write(format, main, {});
            throw;
        }
        platform::Application::WhenIdle(
            [format, main, done] { done(Write(format, main, RowsOfWindow()) ? 0 : 1); });
    });
}

}  // namespace Kelvane
