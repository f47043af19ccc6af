#include "viewmodel/MainViewModel.h"

#include "platform/tasks/task.h"
#include "tests/application/ApplicationTest.h"

namespace Kelvane {

namespace {

class ViewModelTest : public ApplicationTest {
  protected:
    ViewModelTest() { m_systemInformation = Record(Letters(10)); }

    /// Runs `body` with a view model of its own, on a worker, while the application runs.
    void OnWorker(const std::function<void(MainViewModel&)>& body) {
        Run({[&] { platform::create_task([body] { body(*std::make_shared<MainViewModel>()); }); }});
    }
};

TEST_F(ViewModelTest, ConnectsOnceAndBuildsAFreshClientAfterEachFailure) {
    OnWorker([&](MainViewModel& viewModel) {
        char16_t buffer[8]{};
        EXPECT_EQ(viewModel.ReadSysInfo(buffer, 7), -1) << "no client";
        EXPECT_EQ(viewModel.InitialiseRpcConnection(), 1722);
        EXPECT_EQ(viewModel.InitialiseRpcConnection(), 1722);
        EXPECT_EQ(viewModel.ReadSysInfo(buffer, 7), -1) << "no context";
        EXPECT_FALSE(viewModel.IsRpcInitialised());
        StartService();
        EXPECT_EQ(viewModel.InitialiseRpcConnection(), 0);
        EXPECT_EQ(viewModel.InitialiseRpcConnection(), 0);
        EXPECT_TRUE(viewModel.IsRpcInitialised());
        EXPECT_EQ(viewModel.ReadSysInfo(nullptr, 7), -1);
        EXPECT_EQ(viewModel.SetUEFIFlag(nullptr, 0), -1);
    });
    EXPECT_TRUE(HasTraced("Kelvane::MainViewModel::ReadSysInfoRPC Client pointer is NULL"));
    EXPECT_TRUE(
        HasTraced("Kelvane::MainViewModel::InitialiseRpcConnectionReadSysInfo  Initialization failed "));
    EXPECT_TRUE(HasTraced(
        "Kelvane::MainViewModel::InitialiseRpcConnectionInitialization already complete. Status = true"));
    EXPECT_EQ(TraceOf({"Kelvane::MainViewModel::~MainViewModel"}),
              (std::vector<std::string>{"Kelvane::MainViewModel::~MainViewModelEntry",
                                        "Kelvane::MainViewModel::~MainViewModelDeallocating m_pSysData",
                                        "Kelvane::MainViewModel::~MainViewModelDeallocating m_pUsbTypeCData",
                                        "Kelvane::MainViewModel::~MainViewModelExit"}));
}

TEST_F(ViewModelTest, TheFlagsTellWhetherTheLastReadSucceededAndTheCacheKeepsTheLastRecord) {
    StartService();
    OnWorker([&](MainViewModel& viewModel) {
        char16_t text[1000]{};
        viewModel.GetSysInfo(text, 999);
        EXPECT_EQ(text[0], 0);
        viewModel.ReadUsbTypeCInfoDetailsAsync();
        EXPECT_TRUE(viewModel.IsUsbTypeCInfoReadCompleted());
        viewModel.ReadSysInfoDetailsAsync();
        EXPECT_TRUE(viewModel.IsSysInfoReadCompleted());
        m_answerIsEmpty = true;
        viewModel.ReadSysInfoDetailsAsync();
        EXPECT_TRUE(viewModel.IsSysInfoReadCompleted());
        m_answerIsEmpty = false;
        m_systemInformation.reset();
        viewModel.ReadSysInfoDetailsAsync();
        EXPECT_FALSE(viewModel.IsSysInfoReadCompleted());
        viewModel.GetSysInfo(text, 999);
        EXPECT_EQ(std::u16string(text), Record(Letters(10)));
        viewModel.GetSysInfo(text, 5);
        EXPECT_EQ(text[0], 0) << "a record that does not fit leaves the buffer empty";
    });
    EXPECT_TRUE(HasTraced("Kelvane::MainViewModel::GetSysInfoFailed to copy m_pSysData"));
    EXPECT_TRUE(
        HasTraced("Kelvane::MainViewModel::ReadUsbTypeCInfoDetailsAsync::<lambda_2>::operator ()RPC "
                  "Connection Status = false"))
        << "that line shows the other record's flag";
}

TEST_F(ViewModelTest, ManyChainsAtOnceNeitherRaceNorReplaceAClientInUse) {
    m_usbTypeC.emplace(u"x");
    Run({[&] {
        const auto viewModel = std::make_shared<MainViewModel>();
        for (int i = 0; i < 40; ++i) {
            platform::create_task([viewModel, i] {
                i % 2 == 0 ? viewModel->ReadSysInfoDetailsAsync() : viewModel->ReadUsbTypeCInfoDetailsAsync();
                char16_t text[1000]{};
                viewModel->GetSysInfo(text, 999);
                viewModel->GetUsbTypeCInfo(text, 499);
            });
            if (i == 20) {
                StartService();
            }
        }
    }});
    EXPECT_EQ(m_errors, "");
}

TEST_F(ViewModelTest, ServiceThatDoesNotAnswerLeavesAWorkerForTheEnd) {
    // Connections are taken and nothing is answered, as a stopped service does.
    std::optional<platform::rpc::ListeningSocket> stuck;
    std::atomic<int> ended = 0;
    EXPECT_EQ(Run({[&] {
                  stuck.emplace(platform::rpc::test::EndpointScope::Socket());
                  for (int i = 0; i < 8; ++i) {
                      platform::create_task([&ended] {
                          EXPECT_NE(MainViewModel::GetInstance()->InitialiseRpcConnection(), 0);
                          ++ended;
                      });
                  }
                  m_world->Window().RequestClose();
              }}),
              0);
    EXPECT_EQ(ended, 8);
    EXPECT_EQ(tests::Names(StoredLogs()).size(), 1U);
}

}  // namespace

}  // namespace Kelvane
