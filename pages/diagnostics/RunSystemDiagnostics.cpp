#include "pages/diagnostics/RunSystemDiagnostics.h"

#include "logging/Trace.h"
#include "pages/DisplayTexts.h"
#include "pages/RequestInProgress.h"
#include "pages/WorkThenShow.h"
#include "platform/xaml/Window.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

namespace {

void Show(const std::optional<FirmwareRequestDetails>& request, const platform::NamedElements& elements) {
    if (!request) {
        return;
    }
    const auto texts = PackageTexts();
    constexpr std::int64_t kDenied = 5;
    const auto* const key = !request->Supported && request->Status == kDenied ? u"RequestDenied/Text"
                            : !request->Supported                             ? u"RequestNotSupported/Text"
                            : request->BootEntry.empty()                      ? u"RunDiagnosticsSetup/Text"
                                                                              : u"RunDiagnosticsEntry/Text";
    const auto action = elements.Find<platform::TextBlock>(u"RunDiagnosticsAction");
    action->Text(Filled(texts.Lookup(key), {{u"{name}", request->BootEntry}}));
    action->Visibility(platform::Visibility::Visible);
    const auto ok = elements.Find<platform::Button>(u"OkButton");
    ok->IsEnabled(request->Supported);
    auto accessibility = ok->Accessibility();
    accessibility.DescribedBy = action.get();
    ok->Accessibility(std::move(accessibility));
    if (!request->Supported) {
        elements.Find<platform::TextBlock>(u"RunDiagnosticsNow")->Visibility(platform::Visibility::Collapsed);
    }
}

}  // namespace

RunSystemDiagnostics::RunSystemDiagnostics() {
    TracedUncaught(u"Kelvane::RunSystemDiagnostics::RunSystemDiagnostics", [this] {
        InitializeComponent();
        AddCustomTitleBar();
    });
}

RunSystemDiagnostics::~RunSystemDiagnostics() {
    TracedUncaught(u"Kelvane::RunSystemDiagnostics::~RunSystemDiagnostics", [] {});
}

void RunSystemDiagnostics::InitializeComponent() {
    const auto elements = platform::LoadComponent(
        *this, u"ms-appx:///RunSystemDiagnostics.xaml",
        {.EventHandlers = {{u"Ok_Click", platform::Handler(this, &RunSystemDiagnostics::Ok_Click)},
                           {u"Cancel_Click", platform::Handler(this, &RunSystemDiagnostics::Cancel_Click)}}});
    ShowWhatWillHappen(elements);
}

void RunSystemDiagnostics::ShowWhatWillHappen(const platform::NamedElements& elements) {
    const auto viewModel = MainViewModel::GetInstance();
    if (const auto details = viewModel->Details()) {
        Show(details->FirmwareRequest, elements);
        return;
    }
    if (const auto window = platform::CoreWindow::GetForCurrentThread()) {
        ThenShow(viewModel->DetailsRead(), window->Dispatcher(), [viewModel, elements] {
            if (const auto details = viewModel->Details()) {
                Show(details->FirmwareRequest, elements);
            }
        });
    }
}

void RunSystemDiagnostics::AddCustomTitleBar() {
    Traced(u"Kelvane::RunSystemDiagnostics::AddCustomTitleBar",
           [this] { WrapInTitleBar(*this, m_titleBar, TitleBarRing::Stopped); });
}

void RunSystemDiagnostics::RemoveCustomTitleBar() {
    Traced(u"Kelvane::RunSystemDiagnostics::RemoveCustomTitleBar",
           [this] { UnwrapFromTitleBar(*this, m_titleBar); });
}

void RunSystemDiagnostics::Ok_Click(platform::UIElement&, const platform::RoutedEventArgs&) {
    Traced(u"Kelvane::RunSystemDiagnostics::Ok_Click", [this](const Trace& trace) {
        WorkThenShow(
            trace,
            [viewModel = MainViewModel::GetInstance()] {
                Trace(u"Kelvane::RunSystemDiagnostics::Ok_Click::<lambda_1>::operator ()")
                    .Verbose(u"Ok_Click()-create_task");
                viewModel->SetUEFIFlagOperation();
            },
            [request = RequestInProgress(u"Kelvane::RunSystemDiagnostics::Ok_Click")] {
                Trace(u"Kelvane::RunSystemDiagnostics::Ok_Click::<lambda_2>::operator ()")
                    .Verbose(u"Ok_Click()-RunAsync");
            });
        GoBackFrom(trace, u"OK Button UI casting failed", [this] { RemoveCustomTitleBar(); });
    });
}

void RunSystemDiagnostics::Cancel_Click(platform::UIElement&, const platform::RoutedEventArgs&) {
    Traced(u"Kelvane::RunSystemDiagnostics::Cancel_Click", [this](const Trace& trace) {
        GoBackFrom(trace, u"Cancel Button UI casting failed", [this] { RemoveCustomTitleBar(); });
    });
}

}  // namespace Kelvane
