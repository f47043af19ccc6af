#include "pages/usbc/USBTypeCPage.h"

#include "logging/Trace.h"
#include "pages/CachedRecord.h"
#include "pages/KeyRule.h"
#include "pages/WorkThenShow.h"
#include "pages/usbc/TypeCPorts.h"
#include "platform/xaml/Markup.h"
#include "platform/xaml/Window.h"

namespace Kelvane {

namespace {

constexpr platform::Size kViewSize{.Width = 640, .Height = 210};

/// The markup's names: box n shows field n; a label for each box, then the two headings.
constexpr std::u16string_view kValueNames[] = {u"UsbTypeCValue1", u"UsbTypeCValue2", u"UsbTypeCValue3",
                                               u"UsbTypeCValue4", u"UsbTypeCValue5", u"UsbTypeCValue6"};
constexpr std::u16string_view kNoteNames[] = {u"UsbTypeCNote1", u"UsbTypeCNote2", u"UsbTypeCNote3",
                                              u"UsbTypeCNote4", u"UsbTypeCNote5", u"UsbTypeCNote6"};
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
        m_notes[i] = elements.Find<platform::TextBlock>(kNoteNames[i]);
    }
    for (std::size_t i = 0; i < kIconNames.size(); ++i) {
        m_icons[i + 1] = elements.Find<platform::FontIcon>(kIconNames[i]);
    }
    for (std::size_t i = 0; i < kLabels; ++i) {
        m_labels[i] = elements.Find<platform::TextBlock>(kLabelNames[i]);
    }
    m_eachPort = elements.Find<platform::UIElement>(u"UsbTypeCEachPort");
    m_ports = elements.Find<platform::Panel>(u"UsbTypeCPorts");
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
            ShowPortsWhenKnown();
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
                page->ShowPortsWhenKnown();
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
        m_reading = InterpretUsbTypeC(record, PackageTexts());
        for (std::size_t i = 0; i < kUsbTypeCFields; ++i) {
            if (const auto& value = m_reading.Values[i]) {
                m_values[i]->Text(*value);
            }
            if (const auto& supports = m_reading.Supports[i]) {
                m_icons[i]->Glyph(std::u16string(*supports ? kSupportedGlyph : kNotSupportedGlyph));
                m_icons[i]->Style(*supports ? u"Supported" : u"NotSupported");
                m_icons[i]->Visibility(platform::Visibility::Visible);
            }
        }
        WriteLines(m_reading.Lines);
    });
}

void USBTypeCPage::ShowPortsWhenKnown() {
    Traced(u"Kelvane::USBTypeCPage::ShowPortsWhenKnown", [this](const Trace& trace) {
        const auto viewModel = MainViewModel::GetInstance();
        const auto details = viewModel->Details();
        ShowPorts(details.get());
        if (const auto window = WindowOfThread(trace)) {
            ThenShow(viewModel->DetailsRead(), window->Dispatcher(),
                     [viewModel, details,
                      weak = std::weak_ptr(std::static_pointer_cast<USBTypeCPage>(shared_from_this()))] {
                         const auto page = weak.lock();
                         if (const auto now = viewModel->Details(); page && now != details) {
                             page->ShowPorts(now.get());
                         }
                     });
        }
    });
}

void USBTypeCPage::ShowPorts(const MachineDetails* details) {
    Traced(u"Kelvane::USBTypeCPage::ShowPorts", [&] {
        const auto texts = PackageTexts();
        const auto ports = details != nullptr ? details->Ports : std::vector<TypeCPortDetails>();
        const auto notes = NotesOfValues(m_reading, ports, texts);
        for (std::size_t i = 0; i < kUsbTypeCFields; ++i) {
            ShowNote(i, notes[i]);
        }
        while (m_ports->Size() > 0) {
            m_ports->RemoveAtEnd();
        }
        for (const auto& port : TextsOfPorts(ports, texts)) {
            const auto row = std::make_shared<platform::UserControl>();
            const auto elements = platform::LoadComponent(*row, u"ms-appx:///USBTypeCPort.xaml", {});
            elements.Find<platform::TextBlock>(u"UsbTypeCPort")->Text(port.Name);
            const auto place = elements.Find<platform::TextBlock>(u"UsbTypeCPortPlace");
            place->Text(port.Place);
            place->Visibility(port.Place.empty() ? platform::Visibility::Collapsed
                                                 : platform::Visibility::Visible);
            const auto abilities = elements.Find<platform::TextBox>(u"UsbTypeCPortAbilities");
            abilities->Text(port.Abilities);
            auto accessibility = abilities->Accessibility();
            accessibility.ToolTip = port.Source;
            abilities->Accessibility(std::move(accessibility));
            elements.Find<platform::TextBlock>(u"UsbTypeCPortPower")->Text(port.Power);
            m_ports->Append(row);
        }
        m_eachPort->Visibility(ports.empty() ? platform::Visibility::Collapsed
                                             : platform::Visibility::Visible);
    });
}

void USBTypeCPage::ShowNote(std::size_t field, const std::u16string& note) {
    auto& element = *m_notes[field];
    element.Text(note);
    element.Visibility(note.empty() ? platform::Visibility::Collapsed : platform::Visibility::Visible);
    // In the place of a value that is not there.
    platform::Grid::SetRow(element, m_values[field]->Text().empty() ? 0 : 1);
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
