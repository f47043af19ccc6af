#include "pages/usbc/USBTypeCPage.h"

#include "chrome/PageChrome.h"
#include "logging/Trace.h"
#include "pages/CachedRecord.h"
#include "pages/KeyRule.h"
#include "pages/WorkThenShow.h"
#include "platform/xaml/Markup.h"
#include "platform/xaml/Window.h"

namespace Kelvane {

namespace {

constexpr platform::Size kViewSize{.Width = 640, .Height = 210};

/// The markup's names: box n shows field n; a label for each box, then the two headings.
constexpr std::u16string_view kValueNames[] = {u"UsbTypeCValue1", u"UsbTypeCValue2", u"UsbTypeCValue3",
                                               u"UsbTypeCValue4", u"UsbTypeCValue5", u"UsbTypeCValue6"};
/// Of the four support texts, which begin with the second field.
constexpr std::array<std::u16string_view, 4> kIconNames = {u"UsbTypeCIcon2", u"UsbTypeCIcon3",
                                                           u"UsbTypeCIcon4", u"UsbTypeCIcon5"};
constexpr std::u16string_view kSupportedGlyph = u"\uE73E";
constexpr std::u16string_view kNotSupportedGlyph = u"\uE738";
constexpr std::u16string_view kLabelNames[] = {u"UsbTypeCLabel1",   u"UsbTypeCLabel2",   u"UsbTypeCLabel3",
                                               u"UsbTypeCLabel4",   u"UsbTypeCLabel5",   u"UsbTypeCLabel6",
                                               u"UsbTypeCDataHead", u"UsbTypeCPowerHead"};

}  // namespace

USBTypeCPage::USBTypeCPage() {
    TracedUncaught(u"Kelvane::USBTypeCPage::USBTypeCPage", [this] {
        InitializeComponent();
        AddCustomTitleBar();
        LaunchUsbPageLabelsVisible(false);
    });
}

USBTypeCPage::~USBTypeCPage() {
    TracedUncaught(u"Kelvane::USBTypeCPage::~USBTypeCPage", [] {});
}

void USBTypeCPage::InitializeComponent() {
    const auto on = [this](auto method) { return platform::Handler(this, method); };
    const auto elements = platform::LoadComponent(
        *this, u"ms-appx:///USBTypeCPage.xaml",
        {.EventHandlers = {{u"MainWindow_Loaded", on(&USBTypeCPage::MainWindow_Loaded)},
                           {u"Back_Click", on(&USBTypeCPage::Back_Click)}},
         .KeyHandlers = {{u"KeyboardKeyDownEvent", on(&USBTypeCPage::KeyboardKeyDownEvent)},
                         {u"KeyboardKeyUpEvent", on(&USBTypeCPage::KeyboardKeyUpEvent)}}});
    for (std::size_t i = 0; i < kUsbTypeCFields; ++i) {
        m_values[i] = elements.Find<platform::TextBox>(kValueNames[i]);
    }
    for (std::size_t i = 0; i < kIconNames.size(); ++i) {
        m_icons[i + 1] = elements.Find<platform::FontIcon>(kIconNames[i]);
    }
    for (std::size_t i = 0; i < kLabels; ++i) {
        m_labels[i] = elements.Find<platform::TextBlock>(kLabelNames[i]);
    }
}

void USBTypeCPage::AddCustomTitleBar() {
    Traced(u"Kelvane::USBTypeCPage::AddCustomTitleBar", [this] { WrapInTitleBar(*this, m_titleBar); });
}

void USBTypeCPage::RemoveCustomTitleBar() {
    Traced(u"Kelvane::USBTypeCPage::RemoveCustomTitleBar", [this] { UnwrapFromTitleBar(*this, m_titleBar); });
}

void USBTypeCPage::OnNavigatedTo(const platform::NavigationEventArgs& args) {
    Traced(u"Kelvane::USBTypeCPage::OnNavigatedTo", [&](const Trace& trace) {
        const auto viewModel = MainViewModel::GetInstance();
        if (viewModel->IsUsbTypeCInfoReadCompleted() && viewModel->IsRpcInitialised()) {
            trace.Verbose(u"Already Updated USBTypeCInfoDetails - success");
            UpdateUIWithTypeCDataAvailable();
        } else {
            UpdateUSBTypeCInfoDetails(args);
        }
    });
}

void USBTypeCPage::MainWindow_Loaded(platform::UIElement&, const platform::RoutedEventArgs&) {
    Traced(u"Kelvane::USBTypeCPage::MainWindow_Loaded", [](const Trace& trace) {
        if (platform::CoreWindow::GetForCurrentThread()) {
            platform::ApplicationView::GetForCurrentView().SetPreferredMinSize(kViewSize);
        } else {
            trace.Error(u"GetForCurrentThread() = NULL");
        }
        platform::ApplicationView::PreferredLaunchViewSize(kViewSize);
    });
}

void USBTypeCPage::UpdateUSBTypeCInfoDetails(const platform::NavigationEventArgs&) {
    Traced(u"Kelvane::USBTypeCPage::UpdateUSBTypeCInfoDetails", [this](const Trace& trace) {
        const auto viewModel = MainViewModel::GetInstance();
        WorkThenShow(
            trace,
            [viewModel] {
                Trace(u"Kelvane::USBTypeCPage::UpdateUSBTypeCInfoDetails::<lambda_1>::operator ()")
                    .Verbose(u"UpdateUSBTypeCInfoDetails()-create_task");
                viewModel->ReadUsbTypeCInfoDetailsAsync();
            },
            [viewModel, page = std::static_pointer_cast<USBTypeCPage>(shared_from_this())] {
                const Trace step(
                    u"Kelvane::USBTypeCPage::UpdateUSBTypeCInfoDetails::<lambda_2>::operator ()");
                step.Verbose(u"UpdateUSBTypeCInfoDetails()-RunAsync");
                if (viewModel->IsUsbTypeCInfoReadCompleted() && viewModel->IsRpcInitialised()) {
                    step.Verbose(u"UpdateUSBTypeCInfoDetails - success");
                    page->UpdateUIWithTypeCDataAvailable();
                } else {
                    step.Verbose(u"UpdateSysInfoDetails failed from RpcClient");
                    StopRing(page->m_titleBar);
                    page->LaunchUsbPageLabelsVisible(true);
                }
            });
    });
}

void USBTypeCPage::UpdateUIWithTypeCDataAvailable() {
    TracedUncaught(u"Kelvane::USBTypeCPage::UpdateUIWithTypeCDataAvailable", [this] {
        StopRing(m_titleBar);
        LaunchUsbPageLabelsVisible(true);
        UpdateUI(CachedRecord(&MainViewModel::GetUsbTypeCInfo, MainViewModel::kUsbTypeCDataCapacity));
    });
}

void USBTypeCPage::UpdateUI(const std::u16string& record) {
    Traced(u"Kelvane::USBTypeCPage::UpdateUI", [&] {
        const auto reading = InterpretUsbTypeC(record, PackageTexts());
        for (std::size_t i = 0; i < kUsbTypeCFields; ++i) {
            if (const auto& value = reading.Values[i]) {
                m_values[i]->Text(*value);
            }
            if (const auto& supports = reading.Supports[i]) {
                m_icons[i]->Glyph(std::u16string(*supports ? kSupportedGlyph : kNotSupportedGlyph));
                m_icons[i]->Style(*supports ? u"Supported" : u"NotSupported");
                m_icons[i]->Visibility(platform::Visibility::Visible);
            }
        }
        WriteLines(reading.Lines);
    });
}

void USBTypeCPage::LaunchUsbPageLabelsVisible(bool visible) {
    Traced(u"Kelvane::USBTypeCPage::LaunchUsbPageLabelsVisible", [&] {
        for (const auto& label : m_labels) {
            label->Visibility(visible ? platform::Visibility::Visible : platform::Visibility::Collapsed);
        }
    });
}

void USBTypeCPage::KeyboardKeyDownEvent(platform::UIElement& sender, platform::KeyRoutedEventArgs& args) {
    Traced(u"Kelvane::USBTypeCPage::KeyboardKeyDownEvent", [&] { SelectionOnTab(sender, args); });
}

void USBTypeCPage::KeyboardKeyUpEvent(platform::UIElement& sender, platform::KeyRoutedEventArgs& args) {
    Traced(u"Kelvane::USBTypeCPage::KeyboardKeyUpEvent", [&] { SelectionOnTab(sender, args); });
}

void USBTypeCPage::SelectionOnTab(platform::UIElement& sender, platform::KeyRoutedEventArgs& args) {
    Traced(u"Kelvane::USBTypeCPage::SelectionOnTab", [&] {
        auto& box = platform::As<platform::TextBox>(sender);
        if (SwallowAllButTab(args)) {
            box.SelectAll();
        }
    });
}

void USBTypeCPage::Back_Click(platform::UIElement&, const platform::RoutedEventArgs&) {
    Traced(u"Kelvane::USBTypeCPage::Back_Click", [this](const Trace& trace) {
        GoBackFrom(trace, u"Back Button UI casting failed", [this] { RemoveCustomTitleBar(); });
    });
}

}  // namespace Kelvane
