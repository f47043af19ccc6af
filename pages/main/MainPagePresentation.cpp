// What the main page shows: the rows filled from the records.

#include <algorithm>

#include "chrome/PageChrome.h"
#include "logging/TraceLines.h"
#include "pages/CachedRecord.h"
#include "pages/WorkThenShow.h"
#include "pages/main/MachineTexts.h"
#include "pages/main/MainPage.h"
#include "pages/main/SystemInfoRecord.h"

namespace Kelvane {

namespace {

void ShowValue(platform::TextBlock& block, const std::optional<std::u16string>& value) {
    block.TextWrapping(platform::TextWrapping::Wrap);
    if (value) {
        block.Text(*value);
    }
}

}  // namespace

void MainPage::UpdateUIWithSysDataAvailable() {
    TracedUncaught(u"Kelvane::MainPage::UpdateUIWithSysDataAvailable", [this] {
        StopRing(m_titleBar);
        LaunchSysLabelsVisible(true);
        UpdateUI(CachedRecord(&MainViewModel::GetSysInfo, MainViewModel::kSysDataCapacity));
        UpdateUsbTypeButton();
        if (HasData()) {
            Announce(u"DataShown/Text");
        }
    });
}

void MainPage::UpdateUsbTypeButton() {
    Trace(u"Kelvane::MainPage::UpdateUIC").Verbose(u"Entry");
    const auto offer = InterpretUsbTypeCOffer(
        CachedRecord(&MainViewModel::GetUsbTypeCInfo, MainViewModel::kUsbTypeCDataCapacity));
    m_usbType->Visibility(platform::VisibleIf(offer.HasPage));
    WriteLines(offer.Lines);
}

void MainPage::UpdateUI(const std::u16string& record) {
    Traced(u"Kelvane::MainPage::UpdateUI", [&] {
        const auto reading = InterpretSystemInfo(record, PackageTexts());
        if (reading.Value) {
            Show(*reading.Value);
        }
        WriteLines(reading.Lines);
    });
}

void MainPage::Show(const SystemInfo& info) {
    for (std::size_t row = 0; row < kSystemInfoRows; ++row) {
        ShowValue(*m_rows[row].value, info.Rows[row]);
    }
    const auto& bios = m_rows[kBiosPasswordRow];
    if (info.Bios == SystemInfo::BiosRow::Hidden) {
        bios.value->Visibility(platform::Visibility::Collapsed);
        bios.label->Visibility(platform::Visibility::Collapsed);
    } else if (info.Bios == SystemInfo::BiosRow::Shown) {
        bios.label->Visibility(platform::Visibility::Visible);
        bios.value->Visibility(platform::Visibility::Visible);
        ShowValue(*bios.value, info.BiosPassword);
    }
    m_copyAll->Visibility(platform::VisibleIf(HasData()));
    m_advanced->Visibility(platform::Visibility::Visible);
    m_runSysDiagsbutton->Visibility(platform::Visibility::Visible);
}

void MainPage::ShowDetailsAfter(const platform::task<void>& read) {
    Traced(u"Kelvane::MainPage::ShowDetailsAfter", [&](const Trace& trace) {
        ShowMachineDetails();
        if (const auto window = WindowOfThread(trace)) {
            // A read that never ends keeps no page.
            ThenShow(read, window->Dispatcher(),
                     [weak = std::weak_ptr(std::static_pointer_cast<MainPage>(shared_from_this()))] {
                         if (const auto page = weak.lock()) {
                             page->ShowMachineDetails();
                             page->ShowRequestPending();
                         }
                     });
        }
    });
}

void MainPage::ShowMachineDetails() {
    Traced(u"Kelvane::MainPage::ShowMachineDetails", [this] {
        const auto details = MainViewModel::GetInstance()->Details();
        const auto texts = PackageTexts();
        m_machineIcon->Glyph(MachineGlyph(details.get()));
        m_machineTile->Style(details || HasData() ? u"Tile" : u"QuietTile");
        m_machineLine->Text(details ? MachineLine(*details, texts) : u"");
        for (const auto& row : kPageRows) {
            ShowDetails(m_rows[row.Place], FieldOf(details.get(), row), texts);
        }
    });
}

void MainPage::ShowDetails(const Row& row, const FieldDetails& field, const DisplayTexts& texts) {
    const bool isBlank = row.value->Text().empty();
    auto name = isBlank ? ReasonText(field, texts) : u"";
    auto shown = name;
    if (isBlank && name.empty()) {
        // There is a message on why, which a dash need not repeat; a screen reader would not say a dash.
        name = texts.Lookup(u"NotAvailable/Text");
        shown = &row == &m_rows.front() ? name : u"–";
    }
    row.reason->Text(std::move(shown));
    auto accessibility = row.reason->Accessibility();
    accessibility.Name = name;
    // A tool tip is read as a description, that of the reason behind the value's own.
    accessibility.ToolTip = isBlank ? SourceText(field) : u"";
    row.reason->Accessibility(accessibility);
    accessibility = row.value->Accessibility();
    accessibility.ToolTip = isBlank ? std::move(name) : SourceText(field);
    row.value->Accessibility(std::move(accessibility));
}

bool MainPage::HasData() const {
    return std::ranges::any_of(m_rows, [](const Row& row) { return !row.value->Text().empty(); });
}

void MainPage::LaunchSysLabelsVisible(bool visible) {
    Traced(u"Kelvane::MainPage::LaunchSysLabelsVisible", [&] {
        const auto visibility = platform::VisibleIf(visible);
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
