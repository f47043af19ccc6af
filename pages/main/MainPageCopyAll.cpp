// What concerns the main page's values together: copying them all, and hiding the identifiers among them.

#include "logging/Trace.h"
#include "pages/main/MachineTexts.h"
#include "pages/main/MainPage.h"
#include "platform/media/Clipboard.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

namespace {

constexpr std::u16string_view kHideGlyph = u"\uE890";
constexpr std::u16string_view kHiddenGlyph = u"\uED1A";

void Call(platform::Button& button, std::u16string name) {
    auto accessibility = button.Accessibility();
    accessibility.Name = std::move(name);
    button.Accessibility(std::move(accessibility));
}

}  // namespace

void MainPage::HideSerialNumber_Click(UIElement&, const RoutedEventArgs&) {
    Traced(u"Kelvane::MainPage::HideSerialNumber_Click", [this] {
        s_bHidesIdentifiers = !s_bHidesIdentifiers;
        ShowWhetherHidden();
    });
}

void MainPage::ShowWhetherHidden() {
    for (const auto& row : kPageRows) {
        m_rows[row.Place].value->IsMasked(s_bHidesIdentifiers && row.IsIdentifier);
    }
    const auto texts = PackageTexts();
    m_hideIcon->Glyph(std::u16string(s_bHidesIdentifiers ? kHiddenGlyph : kHideGlyph));
    Call(*m_hideSerialNumber,
         texts.Lookup(s_bHidesIdentifiers ? u"ShowSerialNumber/Text" : u"HideSerialNumber/Text"));
    auto accessibility = m_copyAll->Accessibility();
    accessibility.ToolTip =
        texts.Lookup(s_bHidesIdentifiers ? u"CopyAllWithoutSerialNumber/Text" : u"CopyAllValues/Text");
    m_copyAll->Accessibility(std::move(accessibility));
}

void MainPage::CopyAll_Click(UIElement&, const RoutedEventArgs&) {
    Traced(u"Kelvane::MainPage::CopyAll_Click", [this] { CopyAll(s_bHidesIdentifiers); });
}

void MainPage::CopyAll(bool hidesIdentifiers) {
    const auto texts = PackageTexts();
    PageMessage message{.Text = texts.Lookup(m_rows[kSerialNumberField].value->Text().empty()
                                                 ? u"AllCopied/Text"
                                                 : u"CopiedWithSerialNumber/Text")};
    std::u16string text;
    for (const auto& row : kPageRows) {
        const auto& [label, value, reason, copy] = m_rows[row.Place];
        if (label->Visibility() == platform::Visibility::Visible) {
            const auto& shown = value->Text().empty() ? reason->Text() : value->Text();
            const bool hidden = hidesIdentifiers && row.IsIdentifier && !value->Text().empty();
            if (hidden) {
                message = {.Text = texts.Lookup(u"CopiedWithoutSerialNumber/Text"),
                           .ActionText = texts.Lookup(u"CopyWithSerialNumber/Text"),
                           .Action = [this] { CopyAll(false); }};
            }
            text += TextRow(label->Text(), hidden ? std::u16string(platform::kMask) : shown) + u"\n";
        }
        if (row.Place == 0) {
            // As on the page.
            text += MachineRows(MainViewModel::GetInstance()->Details().get(), texts);
        }
    }
    platform::DataPackage package;
    package.SetText(std::move(text));
    platform::Clipboard::SetContent(package);
    ShowMessage(std::move(message));
}

}  // namespace Kelvane
