#include <gtest/gtest.h>

#include <algorithm>

#include "backends/headless/HeadlessWorld.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Markup.h"
#include "platform/xaml/Panels.h"
#include "platform/xaml/TypeRegistry.h"
#include "tests/support/Golden.h"
#include "tests/support/PackageScope.h"

namespace platform {

namespace {

class MarkupTest : public testing::Test {
  protected:
    NamedElements Load(const std::string& markup) {
        m_package.Write("Test.xaml", markup);
        return LoadComponent(*m_root, u"ms-appx:///Test.xaml", m_code);
    }

    std::string ProblemWith(const std::string& markup) {
        m_root = std::make_shared<UserControl>();
        try {
            Load(markup);
        } catch (const Exception& exception) {
            std::string what = exception.what();
            return what.substr(what.find("Test.xaml"));
        }
        return "none";
    }

    void SetUp() override {
        m_package.Write("Strings/en-US/Resources.resw",
                        "<root><data name='Ok.Content'><value>OK</value></data>"
                        "<data name='Hello.Text'><value>Hello</value></data></root>");
        m_package.Write("Strings/de/Resources.resw",
                        "<root><data name='Hello.Text'><value>Grüß Gott</value></data></root>");
    }

    UserInterfaceThreadMark m_mark;
    headless::HeadlessWorld m_world{{.Languages = {u"de-AT"}}};
    WorldScope m_scope{m_world};
    PackageScope m_package;
    ComponentCode m_code;
    std::shared_ptr<UserControl> m_root = std::make_shared<UserControl>();
};

TEST_F(MarkupTest, BuildsTheTreeWithTextsBindingsAndHandlers) {
    int clicks = 0;
    double height = 30;
    m_code.EventHandlers[u"Ok_Click"] = [&](UIElement&, const RoutedEventArgs&) { ++clicks; };
    m_code.Numbers[u"BarHeight"] = [&] { return height; };
    const auto elements = Load(R"(<UserControl x:Class="T">
        <Grid x:Name="Root" RowDefinitions="Auto,*" Height="{x:Bind BarHeight}">
          <TextBlock x:Name="Label" x:Uid="Hello" Visibility="Collapsed" />
          <TextBox x:Name="Value" Grid.Row="1" AutomationProperties.LabeledBy="{x:Bind Label}" Margin="1,2,3,4"/>
          <Button x:Name="Ok" x:Uid="Ok" Visibility="{x:Bind Label.Visibility}" Click="Ok_Click" />
        </Grid></UserControl>)");
    const auto grid = elements.Find<Grid>(u"Root");
    const auto label = elements.Find<TextBlock>(u"Label");
    const auto value = elements.Find<TextBox>(u"Value");
    const auto ok = elements.Find<Button>(u"Ok");
    EXPECT_EQ(grid->RowDefinitions(), (std::vector{GridLength::Auto, GridLength::Star}));
    EXPECT_EQ(label->Text(), u"Grüß Gott") << "the user's language first";
    EXPECT_EQ(dynamic_cast<TextBlock&>(*ok->Content()).Text(), u"OK") << "English where it has no text";
    EXPECT_EQ(value->Accessibility().LabeledBy, label.get());
    EXPECT_EQ(value->Layout().Margin, (Thickness{1, 2, 3, 4}));
    ok->Invoke();
    label->Visibility(Visibility::Visible);
    ok->Invoke();
    EXPECT_EQ(clicks, 1) << "the button follows the label's visibility";
    height = 40;
    m_root->RefreshBindings();
    EXPECT_EQ(grid->Layout().Height, 40);
    EXPECT_THROW(elements.Find<Button>(u"Label"), Exception);
    EXPECT_THROW(elements.Find<Button>(u"Nobody"), Exception);
}

TEST_F(MarkupTest, NamesFileAndLineOfEveryMistake) {
    tests::ExpectScripts("platform/markup", [this] {
        return [this](std::string markup) {
            std::ranges::replace(markup, '|', '\n');
            return ProblemWith(markup) + "\n";
        };
    });
    EXPECT_EQ(ProblemWith("<UserControl>\n<Grid></UserControl>").substr(0, 12), "Test.xaml:2:");
    std::string begin;
    std::string end;
    for (int level = 0; level < 20'000; ++level) {
        begin += "<Grid>";
        end += "</Grid>";
    }
    EXPECT_EQ(ProblemWith("<UserControl>\n" + begin + end + "</UserControl>"),
              "Test.xaml:2: elements are nested too deep");
}

TEST_F(MarkupTest, RefusesATypeThatContainsItself) {
    RegisterType(u"Kelvane.Test", [this] {
        auto control = std::make_shared<UserControl>();
        LoadComponent(*control, u"ms-appx:///Test.xaml", m_code);
        return control;
    });
    const std::string problem = ProblemWith("<UserControl>\n<local:Test/></UserControl>");
    EXPECT_TRUE(problem.ends_with("Test.xaml:2: Kelvane.Test contains itself")) << problem;
}

}  // namespace

}  // namespace platform
