// Files of the package, in the program and in a folder that replaces them: markup, texts, the manifest; and
// which of them the user's environment picks. The first byte says what the rest is.

#include <memory>
#include <pugixml.hpp>
#include <set>

#include "backends/headless/HeadlessWorld.h"
#include "fuzz/Target.h"
#include "package/PackageContent.h"
#include "platform/core/Exception.h"
#include "platform/core/Lines.h"
#include "platform/core/Text.h"
#include "platform/resources/Locale.h"
#include "platform/resources/Package.h"
#include "platform/resources/ResourceLoader.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Markup.h"
#include "platform/xaml/TypeRegistry.h"

using namespace platform;

namespace {

/// What the first byte picks.
enum Kind : std::uint8_t { kMarkup, kTexts, kManifest, kEnvironment, kKinds };
constexpr std::uint8_t kFromFolder = 4;

constexpr std::string_view kPaths[] = {"Fuzzed.xaml", "Strings/de-DE/Resources.resw", "Manifest.xml"};

/// Refers to every handler, property and type that the package's markup names.
struct Code {
    ComponentCode Names;
    /// Owns what Names refers to.
    std::set<std::u16string> Texts;

    void Add(const pugi::xml_node& node) {
        const std::string_view name = node.name();
        if (name.starts_with("local:")) {
            RegisterType(u"Kelvane." + FromUtf8(name.substr(6)),
                         [] { return std::make_shared<UserControl>(); });
        }
        for (const auto& attribute : node.attributes()) {
            std::string_view value = attribute.value();
            constexpr std::string_view kBind = "{x:Bind ";
            value = value.starts_with(kBind) ? value.substr(kBind.size(), value.size() - kBind.size() - 1)
                                             : value;
            const auto& text = *Texts.insert(FromUtf8(value)).first;
            Names.EventHandlers[text] = [](UIElement&, const RoutedEventArgs&) {};
            Names.KeyHandlers[text] = [](UIElement&, KeyRoutedEventArgs&) {};
            Names.AcceleratorHandlers[text] = [](UIElement&, KeyboardAcceleratorInvokedEventArgs&) {};
            Names.Numbers[text] = [] { return 1.0; };
            Names.Thicknesses[text] = [] { return Thickness{}; };
        }
        for (const auto& child : node.children()) {
            Add(child);
        }
    }
};

class Stage {
  public:
    Stage() {
        SetPackageFiles(Kelvane::PackageContent());
        for (const auto& file : Kelvane::PackageContent()) {
            pugi::xml_document document;
            if (file.Path.ends_with(".xaml") &&
                document.load_buffer(file.Content.data(), file.Content.size())) {
                m_code.Add(document.document_element());
            }
        }
        RegisterType(u"Kelvane.Fuzzed", [this] { return Load(); });
    }

    std::shared_ptr<UserControl> Load() {
        auto root = std::make_shared<UserControl>();
        LoadComponent(*root, u"ms-appx:///Fuzzed.xaml", m_code.Names);
        return root;
    }

  private:
    UserInterfaceThreadMark m_mark;
    Code m_code;
};

/// Does what a page's life does to each element.
void Exercise(UIElement& element) {
    element.Visibility(element.Visibility() == Visibility::Visible ? Visibility::Collapsed
                                                                   : Visibility::Visible);
    if (auto* const block = dynamic_cast<TextBlock*>(&element)) {
        block->Text(block->Text().empty() ? u"text" : u"");
    }
    for (const auto& child : element.Children()) {
        Exercise(*child);
    }
}

void SetEnvironment(std::string_view text) {
    const auto lines = Lines(text);
    for (std::size_t i = 0; i < 2; ++i) {
        const auto line = i < lines.size() ? lines[i].substr(0, lines[i].find('\0')) : "";
        setenv(i == 0 ? "LANG" : "LANGUAGE", std::string(line).c_str(), 1);
    }
}

void ReadEnvironment() {
    fuzz::Require(!LanguagesFromEnvironment().empty());
    fuzz::Require(!ResourceLoader::Read()->GetString(u"Usable/Text").empty());
    fuzz::Require(ResourceContext::GetForCurrentView().QualifierValues().size() == 2);
    for (const auto type : {LOCALE_SISO639LANGNAME, LOCALE_SISO3166CTRYNAME, 0U}) {
        char16_t name[5];
        const int size = GetLocaleInfoW(LOCALE_USER_DEFAULT, type, name, 5);
        fuzz::Require(size == 0 ? GetLastError() != 0 : name[size - 1] == 0);
    }
}

void Read(Stage& stage, Kind kind) {
    try {
        switch (kind) {
            case kMarkup: {
                const auto root = stage.Load();
                Exercise(*root);
                root->RefreshBindings();
                break;
            }
            case kTexts:
                ResourceLoader::Read()->GetString(u"Usable/Text");
                break;
            case kManifest:
                Package::Read().HandlesProtocol(u"kelvane");
                break;
            default:
                ReadEnvironment();
        }
    } catch (const Exception& exception) {
        // Each mistake is reported with its file and line.
        fuzz::Require(exception.Message().find(FromUtf8(kPaths[kind]) + u":") != std::u16string::npos);
    }
}

}  // namespace

void fuzz::Run(std::string_view input) {
    static Stage stage;
    const auto first = TakeByte(input);
    const auto kind = static_cast<Kind>(first % kKinds);
    unsetenv("KELVANE_PACKAGE_DIRECTORY");
    std::vector<PackageFile> files(Kelvane::PackageContent().begin(), Kelvane::PackageContent().end());
    if (kind != kEnvironment && (first & kFromFolder) != 0) {
        std::filesystem::remove_all(fuzz::Folder() / "package");
        fuzz::WriteFile(std::filesystem::path("package") / kPaths[kind], input);
        setenv("KELVANE_PACKAGE_DIRECTORY", (fuzz::Folder() / "package").c_str(), 1);
    } else if (kind != kEnvironment) {
        std::erase_if(files, [&](const PackageFile& file) { return file.Path == kPaths[kind]; });
        files.push_back({kPaths[kind], input});
    }
    SetPackageFiles(files);
    SetEnvironment(kind == kEnvironment ? input : "de_DE.UTF-8");
    headless::HeadlessWorld world({});
    const WorldScope scope(world);
    Read(stage, kind);
    SetPackageFiles(Kelvane::PackageContent());
}

std::vector<std::string> fuzz::Seeds() {
    std::vector<std::string> seeds;
    const auto add = [&](Kind kind, std::string_view text) { Add(seeds, {kind, kind | kFromFolder}, text); };
    for (const auto& file : Kelvane::PackageContent()) {
        if (file.Path.ends_with(".xaml")) {
            add(kMarkup, file.Content);
        } else if (!file.Path.ends_with(".resw")) {
            add(kManifest, file.Content);
        }
    }
    // A line each; "|" stands for a line end there.
    const auto mistakes = FileOf("tests/platform/markup/mistakes.txt");
    for (const auto line : Lines(mistakes)) {
        if (line.starts_with("<")) {
            add(kMarkup, line);
        }
    }
    add(kMarkup, "<UserControl><local:Fuzzed/></UserControl>");
    for (const std::string_view text :
         {"<root><data name='Usable.Text'><value>brauchbar</value></data></root>",
          "<root><data><value/></data></root>", "<other/>", "<root>"}) {
        add(kTexts, text);
    }
    for (const std::string_view text :
         {"<Package><Identity Version='1.2.3'/></Package>",
          "<Package><Identity Version='1.2.3.65536'/></Package>", "<Package>"}) {
        add(kManifest, text);
    }
    for (const std::string_view text :
         {"de_AT.UTF-8\n", "zh_TW.UTF-8\nzh_CN:iw_IL:de", "C\nde", "zh_SG@x", "fa", "tlhx_XXXXX"}) {
        add(kEnvironment, text);
    }
    return seeds;
}
