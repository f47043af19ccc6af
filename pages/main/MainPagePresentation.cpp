// What the main page shows: the rows filled from the records.

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
    });
}

void MainPage::UpdateUsbTypeButton() {
    Trace(u"Kelvane::MainPage::UpdateUIC").Verbose(u"Entry");
    const auto offer = InterpretUsbTypeCOffer(
        CachedRecord(&MainViewModel::GetUsbTypeCInfo, MainViewModel::kUsbTypeCDataCapacity));
    m_usbType->Visibility(offer.HasPage ? platform::Visibility::Visible : platform::Visibility::Collapsed);
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
        m_machineLine->Text(details ? MachineLine(*details, texts) : u"");
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
