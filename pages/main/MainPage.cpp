#include "pages/main/MainPage.h"

#include <array>

#include "chrome/PageChrome.h"
#include "logging/Trace.h"
#include "pages/KeyRule.h"
#include "pages/RequestInProgress.h"
#include "pages/WorkThenShow.h"
#include "pages/main/SystemInfoRecord.h"
#include "platform/resources/Package.h"
#include "platform/xaml/Window.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

namespace {

constexpr platform::Size kViewSize{.Width = 640, .Height = 210};
constexpr double kExpandedHeight = 560;
constexpr std::u16string_view kCollapseGlyph = u"\uE971";
constexpr std::u16string_view kExpandGlyph = u"\uE972";

/// The names that the markup gives to the elements of the rows, in the order of the record's fields.
struct RowNames {
    std::u16string_view label;
    std::u16string_view value;
    std::u16string_view reason;
    std::u16string_view copy;
};
constexpr RowNames kRowNames[] = {
    {u"SysInfoLabel0", u"SysInfoValue0", u"SysInfoReason0", u"CopySysInfoValue0"},
    {u"SysInfoLabel1", u"SysInfoValue1", u"SysInfoReason1", u"CopySysInfoValue1"},
    {u"SysInfoLabel2", u"SysInfoValue2", u"SysInfoReason2", u"CopySysInfoValue2"},
    {u"SysInfoLabel3", u"SysInfoValue3", u"SysInfoReason3", u"CopySysInfoValue3"},
    {u"SysInfoLabel4", u"SysInfoValue4", u"SysInfoReason4", u"CopySysInfoValue4"},
    {u"SysInfoLabel5", u"SysInfoValue5", u"SysInfoReason5", u"CopySysInfoValue5"},
    {u"SysInfoLabel6", u"SysInfoValue6", u"SysInfoReason6", u"CopySysInfoValue6"},
    {u"SerialNumberLabel", u"SerialNumber", u"SerialNumberReason", u"CopySerialNumber"},
    {u"SysInfoLabel8", u"SysInfoValue8", u"SysInfoReason8", u"CopySysInfoValue8"},
    {u"BiosPasswordLabel", u"BiosPasswordValue", u"BiosPasswordReason", u"CopyBiosPasswordValue"},
};

/// The package's architecture decides whether the USB Type-C record is read; it is asked once.
bool ReadsUsbTypeC() {
    static const bool reads =
        platform::Package::Current().Id().Architecture() != platform::ProcessorArchitecture::Arm64;
    return reads;
}

}  // namespace

bool MainPage::s_bExpanded = false;
bool MainPage::s_bHidesIdentifiers = false;

MainPage::MainPage() {
    // A page whose markup cannot be read must fail to load, rather than be shown empty: this is outside the
    // guarded part.
    InitializeComponent();
    Traced(u"Kelvane::MainPage::MainPage", [this](const Trace& trace) {
        trace.Information(u"Application Started");
        if (platform::CoreWindow::GetForCurrentThread()) {
            platform::ApplicationView::GetForCurrentView().SetPreferredMinSize(kViewSize);
        } else {
            trace.Error(u"GetForCurrentThread() = NULL");
        }
        platform::ApplicationView::PreferredLaunchViewSize(kViewSize);
        trace.Verbose(u"Application Launch Window Size = ", static_cast<int>(kViewSize.Width), u" x ",
                      static_cast<int>(kViewSize.Height));
        platform::ApplicationView::PreferredLaunchWindowingMode(
            platform::ApplicationViewWindowingMode::PreferredLaunchViewSize);
        AddCustomTitleBar();
        LaunchSysLabelsVisible(false);
    });
}

MainPage::~MainPage() {
    TracedUncaught(u"Kelvane::MainPage::~MainPage", [this] { m_mediaPlayer.reset(); });
}

void MainPage::InitializeComponent() {
    const auto on = [this](auto method) { return platform::Handler(this, method); };
    const auto elements = platform::LoadComponent(
        *this, u"ms-appx:///MainPage.xaml",
        {.EventHandlers = {{u"MainWindow_Loaded", on(&MainPage::MainWindow_Loaded)},
                           {u"Advanced_Click", on(&MainPage::Advanced_Click)},
                           {u"USBType_Click", on(&MainPage::USBType_Click)},
                           {u"RunSysDiagsbutton_Click", on(&MainPage::RunSysDiagsbutton_Click)},
                           {u"Expand_Click", on(&MainPage::Expand_Click)},
                           {u"CopySysInfoValue_Click", on(&MainPage::CopySysInfoValue_Click)},
                           {u"CopySerialNumber_Click", on(&MainPage::CopySerialNumber_Click)},
                           {u"HideSerialNumber_Click", on(&MainPage::HideSerialNumber_Click)},
                           {u"CopyAll_Click", on(&MainPage::CopyAll_Click)},
                           {u"ReadSerialNumber_Click", on(&MainPage::ReadSerialNumber_Click)}},
         .KeyHandlers = {{u"KeyboardKeyDownEvent", on(&MainPage::KeyboardKeyDownEvent)},
                         {u"KeyboardKeyUpEvent", on(&MainPage::KeyboardKeyUpEvent)}},
         .AcceleratorHandlers = {{u"TryAgain_Invoked", on(&MainPage::TryAgain_Invoked)}}});
    for (std::size_t i = 0; i < kRows; ++i) {
        m_rows[i] = {.label = elements.Find<platform::TextBlock>(kRowNames[i].label),
                     .value = elements.Find<platform::TextBlock>(kRowNames[i].value),
                     .reason = elements.Find<platform::TextBlock>(kRowNames[i].reason),
                     .copy = i == kSerialNumberField
                                 ? elements.FindIfPresent<platform::Button>(kRowNames[i].copy)
                                 : elements.Find<platform::Button>(kRowNames[i].copy)};
    }
    m_machineTile = elements.Find<platform::Panel>(u"MachineTile");
    m_machineIcon = elements.Find<platform::FontIcon>(u"MachineIcon");
    m_machineLine = elements.Find<platform::TextBlock>(u"MachineLine");
    m_copyAll = elements.Find<platform::Button>(u"CopyAll");
    m_hideSerialNumber = elements.Find<platform::Button>(u"HideSerialNumber");
    m_hideIcon = elements.Find<platform::FontIcon>(u"HideIcon");
    m_advanced = elements.Find<platform::Button>(u"Advanced");
    m_usbType = elements.Find<platform::Button>(u"USBType");
    m_runSysDiagsbutton = elements.Find<platform::Button>(u"RunSysDiagsbutton");
    m_expandIcon = elements.Find<platform::FontIcon>(u"ExpandIcon");
    m_detailsPanel = elements.Find<platform::Panel>(u"DetailsPanel");
    m_commandButtons = elements.Find<platform::Panel>(u"CommandButtons");
    m_messageBar = elements.Find<platform::InfoBar>(u"MessageBar");
    m_messageBar->Closed().Add(
        [this](platform::InfoBar& sender, const auto& args) { MessageBar_Closed(sender, args); });
    ShowWhetherHidden();
}

void MainPage::AddCustomTitleBar() {
    Traced(u"Kelvane::MainPage::AddCustomTitleBar", [this] { WrapInTitleBar(*this, m_titleBar); });
}

void MainPage::RemoveCustomTitleBar() {
    Traced(u"Kelvane::MainPage::RemoveCustomTitleBar",
           [this] { StopRing(UnwrapFromTitleBar(*this, m_titleBar)); });
}

void MainPage::OnNavigatedTo(const platform::NavigationEventArgs& args) {
    Traced(u"Kelvane::MainPage::OnNavigatedTo", [&](const Trace& trace) {
        trace.Verbose(u"Inside MainPage::OnNavigatedTo");
        Page::OnNavigatedTo(args);
        const auto viewModel = MainViewModel::GetInstance();
        const bool allRead = viewModel->IsSysInfoReadCompleted() &&
                             viewModel->IsUsbTypeCInfoReadCompleted() && viewModel->IsRpcInitialised();
        m_parameter = args.Parameter;
        m_detailsPanel->Visibility(platform::VisibleIf(s_bExpanded));
        if (s_bExpanded) {
            m_expandIcon->Glyph(std::u16string(kCollapseGlyph));
        }
        if (!args.Parameter.empty()) {
            trace.Verbose(u"Launching from Hotkey");
            if (platform::CoreWindow::GetForCurrentThread()) {
                StartHotkeyChain();
            } else {
                trace.Error(u"CoreWindow is null");
            }
        } else if (!allRead) {
            trace.Verbose(u"UpdateSysInfoDetails");
            UpdateSysInfoDetails(args);
        } else {
            trace.Verbose(u"Already Sysinfo read completed and updateUI with preloaded sysdata");
            UpdateUIWithSysDataAvailable();
            ShowDetailsAfter(viewModel->DetailsRead());
        }
        ListenForOutcomes();
    });
}

void MainPage::StartHotkeyChain() {
    const auto viewModel = MainViewModel::GetInstance();
    const auto dispatcher = platform::CoreWindow::GetForCurrentThread()->Dispatcher();
    const auto held = dispatcher->Hold(std::static_pointer_cast<MainPage>(shared_from_this()));
    ReadBegins();
    const auto connect = platform::create_task([viewModel] { return viewModel->InitialiseRpcConnection(); });
    const auto read = connect.then([viewModel](std::int64_t status) {
        if (status != 0) {
            Trace(u"Kelvane::MainPage::OnNavigatedTo::<lambda_2>::operator ()")
                .Error(u"RPC initialization failed during hotkey launch.");
            throw platform::Exception(static_cast<platform::HResult>(status), u"RPC initialization failed.");
        }
        const std::array reads = {
            platform::create_task([viewModel] { viewModel->ReadSysInfoDetailsAsync(); }),
            platform::create_task([viewModel] { viewModel->ReadUsbTypeCInfoDetailsAsync(); })};
        return platform::when_all(reads.begin(), reads.end());
    });
    ThenShow(read, dispatcher, [page = std::static_pointer_cast<MainPage>(shared_from_this())] {
        StopRing(page->m_titleBar);
        page->LaunchSysLabelsVisible(true);
        page->UpdateUIWithSysDataAvailable();
        page->ShowDetailsAfter(MainViewModel::GetInstance()->ReadMachineDetailsAsync());
    }).then([dispatcher, held](const platform::task<void>& chain) {
        try {
            chain.get();
        } catch (const platform::Exception& exception) {
            Trace(u"Kelvane::MainPage::OnNavigatedTo::<lambda_4>::operator ()")
                .Error(u"Exception in hotkey async chain: ", exception.Message());
        }
        dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal, [held] { held->ReadEnded(true); });
    });
}

void MainPage::UpdateSysInfoDetails(const platform::NavigationEventArgs&) {
    Traced(u"Kelvane::MainPage::UpdateSysInfoDetails", [this](const Trace& trace) {
        const auto viewModel = MainViewModel::GetInstance();
        ReadBegins();
        WorkThenShow(
            trace,
            [viewModel] {
                Trace(u"Kelvane::MainPage::UpdateSysInfoDetails::<lambda_1>::operator ()")
                    .Verbose(u"UpdateSysInfoDetails()-create_task");
                viewModel->ReadSysInfoDetailsAsync();
                if (ReadsUsbTypeC()) {
                    viewModel->ReadUsbTypeCInfoDetailsAsync();
                }
            },
            [viewModel, page = std::static_pointer_cast<MainPage>(shared_from_this())] {
                const Trace step(u"Kelvane::MainPage::UpdateSysInfoDetails::<lambda_2>::operator ()");
                step.Verbose(u"UpdateSysInfoDetails()-RunAsync");
                if (viewModel->IsSysInfoReadCompleted() && viewModel->IsRpcInitialised() &&
                    (viewModel->IsUsbTypeCInfoReadCompleted() || !ReadsUsbTypeC())) {
                    step.Verbose(u"UpdateSysInfoDetails - success");
                    page->UpdateUIWithSysDataAvailable();
                    page->ReadEnded(true);
                } else {
                    step.Verbose(u"UpdateSysInfoDetails failed from RpcClient");
                    StopRing(page->m_titleBar);
                    page->LaunchSysLabelsVisible(true);
                    page->ReadEnded(false);
                }
                page->ShowDetailsAfter(viewModel->ReadMachineDetailsAsync());
            });
    });
}

void MainPage::MainWindow_Loaded(UIElement&, const RoutedEventArgs&) {
    TracedUncaught(u"Kelvane::MainPage::MainWindow_Loaded", [this] {
        if (!HasData()) {
            Announce(u"TitleBarProgressRing/AutomationProperties/Name");
        }
    });
}

void MainPage::Advanced_Click(UIElement&, const RoutedEventArgs&) {
    Traced(u"Kelvane::MainPage::Advanced_Click", [] {
        platform::create_task([viewModel = MainViewModel::GetInstance(),
                               request = RequestInProgress(u"Kelvane::MainPage::Advanced_Click")] {
            viewModel->LaunchSysInfo();
        });
    });
}

void MainPage::USBType_Click(UIElement&, const RoutedEventArgs&) {
    Traced(u"Kelvane::MainPage::USBType_Click", [this] { NavigateRoot(u"Kelvane.USBTypeCPage"); });
}

void MainPage::RunSysDiagsbutton_Click(UIElement&, const RoutedEventArgs&) {
    Traced(u"Kelvane::MainPage::RunSysDiagsbutton_Click",
           [this] { NavigateRoot(u"Kelvane.RunSystemDiagnostics"); });
}

void MainPage::TryAgain_Invoked(UIElement&, platform::KeyboardAcceleratorInvokedEventArgs& args) {
    args.Handled = true;
    Traced(u"Kelvane::MainPage::TryAgain_Invoked", [this] { TryAgain(); });
}

void MainPage::NavigateRoot(std::u16string_view pageType) {
    const auto frame = std::dynamic_pointer_cast<platform::Frame>(platform::Window::Current()->Content());
    if (!frame) {
        throw platform::Exception(platform::result::kNoInterface, u"The window's content is not a frame.");
    }
    frame->Navigate(pageType, {}, platform::SuppressNavigationTransitionInfo{});
}

void MainPage::Expand_Click(UIElement&, const RoutedEventArgs&) {
    auto& view = platform::ApplicationView::GetForCurrentView();
    const double width = view.VisibleBounds().Width;
    const bool expand = m_detailsPanel->Visibility() == platform::Visibility::Collapsed;
    view.TryResizeView({.Width = width, .Height = expand ? kExpandedHeight : kViewSize.Height});
    m_detailsPanel->Visibility(platform::VisibleIf(expand));
    m_expandIcon->Glyph(std::u16string(expand ? kCollapseGlyph : kExpandGlyph));
    s_bExpanded = expand;
    ShowMessageText();
}

void MainPage::KeyboardKeyDownEvent(UIElement& sender, platform::KeyRoutedEventArgs& args) {
    Traced(u"Kelvane::MainPage::KeyboardKeyDownEvent", [&] { SelectionOnTab(sender, args); });
}

void MainPage::KeyboardKeyUpEvent(UIElement& sender, platform::KeyRoutedEventArgs& args) {
    Traced(u"Kelvane::MainPage::KeyboardKeyUpEvent", [&] { SelectionOnTab(sender, args); });
}

void MainPage::SelectionOnTab(UIElement&, platform::KeyRoutedEventArgs& args) {
    Traced(u"Kelvane::MainPage::SelectionOnTab", [&] { SwallowAllButTab(args); });
}

}  // namespace Kelvane
