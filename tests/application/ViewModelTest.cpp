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
        EXPECT_EQ(viewModel.SetUEFIFlag(buffer, 7), -1);
        EXPECT_EQ(viewModel.InitialiseRpcConnection(), 1722);
        EXPECT_EQ(viewModel.InitialiseRpcConnection(), 1722);
        EXPECT_EQ(viewModel.ReadSysInfo(buffer, 7), -1) << "no context";
        viewModel.SetUEFIFlagOperation();
        viewModel.LaunchSysInfo();
        viewModel.LaunchUSBC();
        EXPECT_FALSE(viewModel.IsRpcInitialised());
        StartService();
        EXPECT_EQ(viewModel.InitialiseRpcConnection(), 0);
        EXPECT_EQ(viewModel.InitialiseRpcConnection(), 0);
        EXPECT_TRUE(viewModel.IsRpcInitialised());
        EXPECT_EQ(viewModel.ReadSysInfo(nullptr, 7), -1);
        EXPECT_EQ(viewModel.ReadUSBTypeCInfo(nullptr, 7), -1);
        EXPECT_EQ(viewModel.SetUEFIFlag(nullptr, 0), -1);
        viewModel.GetSysInfo(nullptr, 7);
        viewModel.GetUsbTypeCInfo(nullptr, 7);
        viewModel.LaunchUSBC();
    });
    ExpectTrace("ViewModelConnection");
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
    ExpectTrace("ViewModelReads");
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
