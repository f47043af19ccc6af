// What the main page shows: the rows filled from the records.

#include <stdexcept>

#include "chrome/PageChrome.h"
#include "logging/Trace.h"
#include "pages/CachedRecord.h"
#include "pages/Split.h"
#include "pages/main/MainPage.h"
#include "pages/main/SystemInfoRecord.h"
#include "platform/resources/ResourceLoader.h"
#include "platform/xaml/Window.h"

namespace Kelvane {

void MainPage::UpdateUIWithSysDataAvailable() {
    TracedUncaught(u"Kelvane::MainPage::UpdateUIWithSysDataAvailable", [this] {
        StopRing(m_titleBar);
        LaunchSysLabelsVisible(true);
        UpdateUI(CachedRecord(&MainViewModel::GetSysInfo, MainViewModel::kSysDataCapacity));
        UpdateUsbTypeButton();
    });
}

void MainPage::UpdateUsbTypeButton() {
    Trace(u"Kelvane::MainPage::UpdateUIC").Verbose(u"Entry");
    const auto record = CachedRecord(&MainViewModel::GetUsbTypeCInfo, MainViewModel::kUsbTypeCDataCapacity);
    std::vector<std::u16string> fields;
    ParseSystemInfo(record, kFieldSeparator, fields);
    const auto firstField = fields.empty() ? std::u16string() : fields.front();
    // The subfields only appear in the trace; the rule goes by the commas of the whole field.
    std::vector<std::u16string> subfields;
    ParseSystemInfo(firstField, kSubfieldSeparator, subfields);
    m_usbType->Visibility(OffersUsbTypeCPage(firstField) ? platform::Visibility::Visible
                                                         : platform::Visibility::Collapsed);
}

void MainPage::ParseSystemInfo(std::u16string_view fullString, std::u16string_view delimiter,
                               std::vector<std::u16string>& parts) {
    Traced(u"Kelvane::MainPage::ParseSystemInfo",
           [&](const Trace& trace) { SplitTraced(trace, fullString, delimiter, parts); });
}

void MainPage::UpdateUI(const std::u16string& record) {
    Traced(u"Kelvane::MainPage::UpdateUI", [&](const Trace& trace) {
        trace.Verbose(u"Complete Sys Info : ", record);
        std::vector<std::u16string> fields;
        ParseSystemInfo(record, kFieldSeparator, fields);
        trace.Information(u"Split String Count = ", fields.size());
        if (fields.size() != kShortFormFields && fields.size() != kLongFormFields) {
            trace.Warning(
                u"Required Number of required Sys Info Components are not present when parsed with new "
                u"separator(<.^.>)");
            trace.Information(u"Retrying parsing with old separator (,)");
            fields.clear();
            ParseSystemInfo(record, kOldFieldSeparator, fields);
            trace.Information(u"Split String Count = ", fields.size());
            if (fields.size() < kShortFormFields) {
                trace.Error(
                    u"Required Number of required Sys Info Components are not correct/present when parsed "
                    u"with new "
                    u"separator");
                return;
            }
        }
        for (std::size_t row = 0; row < kBiosPasswordField; ++row) {
            if (row == kMemoryField) {
                FillMemoryRow(trace, fields[row]);
            } else {
                FillRow(row, fields[row]);
            }
        }
        FillBiosRow(fields);
        m_advanced->Visibility(platform::Visibility::Visible);
        m_runSysDiagsbutton->Visibility(platform::Visibility::Visible);
    });
}

void MainPage::FillRow(std::size_t row, const std::u16string& field) {
    m_rows[row].value->TextWrapping(platform::TextWrapping::Wrap);
    if (HasValue(field)) {
        m_rows[row].value->Text(field);
    }
}

void MainPage::FillMemoryRow(const Trace& trace, const std::u16string& field) {
    const auto& value = m_rows[kMemoryField].value;
    value->TextWrapping(platform::TextWrapping::Wrap);
    if (!HasValue(field)) {
        return;
    }
    if (!ReplaceUsable(field, {})) {
        // Without the word there is nothing to translate, but still a capacity that the user wants to see.
        value->Text(field);
        return;
    }
    if (!platform::CoreWindow::GetForCurrentThread()) {
        trace.Error(u"GetForCurrentThread() = NULL");
    }
    value->Text(
        *ReplaceUsable(field, platform::ResourceLoader::GetForCurrentView()->GetString(u"Usable/Text")));
}

void MainPage::FillBiosRow(const std::vector<std::u16string>& fields) {
    const auto& row = m_rows[kBiosPasswordField];
    if (fields.size() == kShortFormFields) {
        row.value->Visibility(platform::Visibility::Collapsed);
        row.label->Visibility(platform::Visibility::Collapsed);
    } else if (fields.size() == kLongFormFields) {
        row.label->Visibility(platform::Visibility::Visible);
        row.value->Visibility(platform::Visibility::Visible);
        row.value->TextWrapping(platform::TextWrapping::Wrap);
        if (HasValue(fields[kBiosPasswordField])) {
            row.value->Text(GetBiosPasswordStatus(fields[kBiosPasswordField]));
        }
    }
}

std::u16string MainPage::GetBiosPasswordStatus(const std::u16string& field) {
    return TracedUncaught(u"Kelvane::MainPage::GetBiosPasswordStatus", [&](const Trace& trace) {
        trace.Verbose(u"BIOS Password Status (Input) : ", field);
        std::u16string result;
        if (!platform::CoreWindow::GetForCurrentThread()) {
            trace.Error(u"GetForCurrentThread() = NULL");
        } else {
            try {
                const auto loader = platform::ResourceLoader::GetForCurrentView();
                const auto code = ParseStatusCode(field);
                trace.Information(u"Split String Count = ", code);
                result = loader->GetString(BiosCredentialKey(code));
            } catch (const std::invalid_argument&) {
                trace.Critical(u"Bad input: std::invalid_argument thrown");
            } catch (const std::out_of_range&) {
                trace.Critical(u"Integer overflow: std::out_of_range thrown");
            } catch (const std::exception&) {
                trace.Critical(u"Unknown exception caught");
            }
        }
        trace.Verbose(u"BIOS Password Status (Output) : ", result);
        return result;
    });
}

void MainPage::LaunchSysLabelsVisible(bool visible) {
    Traced(u"Kelvane::MainPage::LaunchSysLabelsVisible", [&] {
        const auto visibility = visible ? platform::Visibility::Visible : platform::Visibility::Collapsed;
        for (const auto& row : m_rows) {
            row.label->Visibility(visibility);
        }
        if (!visible) {
            m_usbType->Visibility(visibility);
            m_runSysDiagsbutton->Visibility(visibility);
            m_advanced->Visibility(visibility);
        }
    });
}

}  // namespace Kelvane
