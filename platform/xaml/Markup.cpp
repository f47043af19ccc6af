#include "platform/xaml/Markup.h"

#include <algorithm>
#include <iterator>

#include "platform/core/Text.h"
#include "platform/resources/ResourceLoader.h"
#include "platform/resources/XmlSource.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/InfoBar.h"
#include "platform/xaml/MarkupAttributes.h"
#include "platform/xaml/Panels.h"
#include "platform/xaml/TypeRegistry.h"

namespace platform {

namespace {

template <typename Element>
std::shared_ptr<FrameworkElement> Make() {
    return std::make_shared<Element>();
}

struct ElementKind {
    std::string_view name;
    std::shared_ptr<FrameworkElement> (*make)();
};

constexpr ElementKind kElements[] = {
    {"Grid", Make<Grid>},
    {"StackPanel", Make<StackPanel>},
    {"ScrollViewer", Make<ScrollViewer>},
    {"Button", Make<Button>},
    {"TextBlock", Make<TextBlock>},
    {"TextBox", Make<TextBox>},
    {"WrapPanel", Make<WrapPanel>},
    {"FontIcon", Make<FontIcon>},
    {"SymbolIcon", Make<SymbolIcon>},
    {"ProgressRing", Make<ProgressRing>},
    {"InfoBar", Make<InfoBar>},
};

/// Properties that a text of the resource file may set on an element with x:Uid.
constexpr std::string_view kUidProperties[] = {
    "Text", "Content", "CloseButtonText", "AutomationProperties.Name", "ToolTipService.ToolTip", "AccessKey"};

/// How deep elements may be in one another. A page has about ten levels; the stack has room for a thousand.
constexpr int kMaxDepth = 100;

constexpr std::string_view kAccelerators = ".KeyboardAccelerators";
constexpr std::string_view kIsExpanded = "AutomationProperties.IsExpanded";
constexpr std::string_view kVisibilityOf = ".Visibility";
constexpr std::string_view kOpposite = ".Visibility, Converter={StaticResource Opposite}";
constexpr std::string_view kHasText = ".Text, Converter={StaticResource HasText}";
constexpr std::string_view kOwnTypePrefix = "local:";
constexpr std::u16string_view kOwnNamespace = u"Kelvane.";

/// Reads one file into one component.
class MarkupReader {
  public:
    MarkupReader(ContentControl& root, LoadedFile file, const ComponentCode& code)
        : m_root(root), m_displayPath(file.DisplayPath), m_source(std::move(file)), m_code(code) {}

    NamedElements Read() {
        const auto node = m_source.Root();
        ReadAttributes(m_root, node);
        ReadChildren(m_root, node, 1);
        for (const auto& finish : m_afterwards) {
            finish();
        }
        return {m_displayPath, std::move(m_named)};
    }

  private:
    std::shared_ptr<FrameworkElement> ReadElement(const pugi::xml_node& node, int depth) {
        if (depth > kMaxDepth) {
            m_source.Fail(node, "elements are nested too deep");
        }
        auto element = Create(node);
        ReadAttributes(*element, node);
        ReadChildren(*element, node, depth + 1);
        if (!element->Name().empty() && !m_named.emplace(element->Name(), element).second) {
            m_source.Fail(node, "the name '" + ToUtf8(element->Name()) + "' is used twice");
        }
        return element;
    }

    std::shared_ptr<FrameworkElement> Create(const pugi::xml_node& node) {
        const std::string_view name = node.name();
        const auto* const kind = std::find_if(std::begin(kElements), std::end(kElements),
                                              [&](const ElementKind& each) { return each.name == name; });
        if (kind != std::end(kElements)) {
            return kind->make();
        }
        if (name.starts_with(kOwnTypePrefix)) {
            const auto type = std::u16string(kOwnNamespace) + FromUtf8(name.substr(kOwnTypePrefix.size()));
            std::shared_ptr<UIElement> element;
            try {
                element = ActivateType(type);
            } catch (const Exception& exception) {
                m_source.Fail(node, exception.what());
            }
            if (auto framework = std::dynamic_pointer_cast<FrameworkElement>(std::move(element))) {
                return framework;
            }
        }
        m_source.Fail(node, "unknown element <" + std::string(name) + ">");
    }

    void ReadChildren(FrameworkElement& parent, const pugi::xml_node& node, int depth) {
        for (const auto& child : node.children()) {
            if (child.type() != pugi::node_element) {
                m_source.Fail(child, "text between elements is not supported; use an attribute");
            }
            if (child.name() == node.name() + std::string(kAccelerators)) {
                for (const auto& accelerator : child.children()) {
                    parent.KeyboardAccelerators().push_back(ReadAccelerator(accelerator));
                }
            } else if (auto* const panel = dynamic_cast<Panel*>(&parent)) {
                panel->Append(ReadElement(child, depth));
            } else if (auto* const control = dynamic_cast<ContentControl*>(&parent);
                       control != nullptr && !control->Content()) {
                control->Content(ReadElement(child, depth));
            } else {
                m_source.Fail(child, std::string("<") + node.name() + "> cannot hold this element");
            }
        }
    }

    void ReadAttributes(FrameworkElement& element, const pugi::xml_node& node) {
        for (const auto& attribute : node.attributes()) {
            const std::string_view name = attribute.name();
            if (name.starts_with("xmlns") || name == "x:Class") {
                continue;
            }
            if (name == "x:Name") {
                element.Name(FromUtf8(attribute.value()));
            } else if (name == "x:Uid") {
                ReadTexts(element, node, attribute.value());
            } else if (!ReadEvent(element, node, name, attribute.value()) &&
                       !ReadBinding(element, node, name, attribute.value())) {
                SetValue(element, node, name, attribute.value());
            }
        }
    }

    template <typename Target>
    void SetValue(Target& element, const pugi::xml_node& node, std::string_view name,
                  const std::string& value) {
        try {
            if (!markup::SetAttribute(element, name, value)) {
                m_source.Fail(
                    node, std::string("<") + node.name() + "> has no attribute '" + std::string(name) + "'");
            }
        } catch (const markup::BadValue& bad) {
            m_source.Fail(node, std::string(name) + ": " + bad.Problem);
        }
    }

    template <typename Target>
    void ReadTexts(Target& element, const pugi::xml_node& node, const std::string& uid) {
        const auto loader = ResourceLoader::GetForCurrentView();
        for (const auto property : kUidProperties) {
            std::string key = uid + "/" + std::string(property);
            std::replace(key.begin(), key.end(), '.', '/');
            if (const auto text = loader->GetString(FromUtf8(key)); !text.empty()) {
                SetValue(element, node, property, ToUtf8(text));
            }
        }
    }

    template <typename Args>
    const auto& FindHandler(const ComponentCode::Handlers<Args>& handlers, const pugi::xml_node& node,
                            const std::string& name) {
        const auto found = handlers.find(FromUtf8(name));
        if (found == handlers.end()) {
            m_source.Fail(node, "there is no handler '" + name + "'");
        }
        return found->second;
    }

    std::shared_ptr<KeyboardAccelerator> ReadAccelerator(const pugi::xml_node& node) {
        if (node.name() != std::string_view("KeyboardAccelerator")) {
            m_source.Fail(node, "only <KeyboardAccelerator> can stand here");
        }
        auto accelerator = std::make_shared<KeyboardAccelerator>();
        for (const auto& attribute : node.attributes()) {
            const std::string_view name = attribute.name();
            if (name == "x:Uid") {
                ReadTexts(*accelerator, node, attribute.value());
            } else if (name == "Invoked") {
                accelerator->Invoked.Add(FindHandler(m_code.AcceleratorHandlers, node, attribute.value()));
            } else {
                SetValue(*accelerator, node, name, attribute.value());
            }
        }
        return accelerator;
    }

    bool ReadEvent(FrameworkElement& element, const pugi::xml_node& node, std::string_view name,
                   const std::string& value) {
        if (name == "Loaded") {
            element.Loaded().Add(FindHandler(m_code.EventHandlers, node, value));
        } else if (auto* const button = dynamic_cast<Button*>(&element);
                   name == "Click" && button != nullptr) {
            button->Click().Add(FindHandler(m_code.EventHandlers, node, value));
        } else if (name == "KeyDown") {
            element.KeyDown().Add(FindHandler(m_code.KeyHandlers, node, value));
        } else if (name == "KeyUp") {
            element.KeyUp().Add(FindHandler(m_code.KeyHandlers, node, value));
        } else {
            return false;
        }
        return true;
    }

    /// {x:Bind ...}: the labelling or describing element, the visibility of another element or its opposite,
    /// whether a text block has a text, or a property of the component.
    bool ReadBinding(FrameworkElement& element, const pugi::xml_node& node, std::string_view name,
                     const std::string& value) {
        const std::string bound(markup::BoundName(value));
        if (bound.empty()) {
            return false;
        }
        if (name == "AutomationProperties.LabeledBy") {
            Refer<&ElementAccessibility::LabeledBy>(element, node, bound);
        } else if (name == "AutomationProperties.DescribedBy") {
            Refer<&ElementAccessibility::DescribedBy>(element, node, bound);
        } else if (const bool opposite = bound.ends_with(kOpposite);
                   (name == "Visibility" || name == kIsExpanded) &&
                   bound.ends_with(opposite ? kOpposite : kVisibilityOf)) {
            const auto suffix = opposite ? kOpposite.size() : kVisibilityOf.size();
            m_afterwards.push_back([this, &element, node,
                                    follow = name == kIsExpanded ? Expand
                                             : opposite          ? Hide
                                                                 : Show,
                                    other = bound.substr(0, bound.size() - suffix)] {
                auto& leader = *FindNamed(node, other);
                if (follow != Expand) {
                    // A change would never come to rest.
                    if (Follows(leader, element)) {
                        m_source.Fail(node, "the visibility follows itself");
                    }
                    m_followers.emplace_back(&element, &leader);
                }
                FollowVisibility(element, leader, follow);
            });
        } else if (name == "Visibility" && bound.ends_with(kHasText)) {
            m_afterwards.push_back(
                [this, &element, node, other = bound.substr(0, bound.size() - kHasText.size())] {
                    FollowText(element, *FindNamed(node, other));
                });
        } else if (name == "Height") {
            Bind(m_code.Numbers, node, bound, element, [&element](double height) { element.Height(height); });
        } else if (auto* const panel = dynamic_cast<Panel*>(&element);
                   name == "Padding" && panel != nullptr) {
            Bind(m_code.Thicknesses, node, bound, element,
                 [panel](Thickness padding) { panel->Padding(padding); });
        } else {
            m_source.Fail(node, std::string(name) + " cannot be bound");
        }
        return true;
    }

    template <auto Field>
    void Refer(FrameworkElement& element, const pugi::xml_node& node, const std::string& name) {
        m_afterwards.push_back([this, &element, node, name] {
            auto accessibility = element.Accessibility();
            accessibility.*Field = FindNamed(node, name).get();
            element.Accessibility(std::move(accessibility));
        });
    }

    using Follow = void (*)(FrameworkElement&, Visibility);

    static void Show(FrameworkElement& element, Visibility visibility) { element.Visibility(visibility); }

    static void Hide(FrameworkElement& element, Visibility visibility) {
        Show(element, visibility == Visibility::Visible ? Visibility::Collapsed : Visibility::Visible);
    }

    static void Expand(FrameworkElement& element, Visibility visibility) {
        auto accessibility = element.Accessibility();
        accessibility.IsExpanded = visibility == Visibility::Visible;
        element.Accessibility(std::move(accessibility));
    }

    static void FollowVisibility(FrameworkElement& follower, UIElement& leader, Follow follow) {
        follow(follower, leader.Visibility());
        leader.PropertyChanged().Add(
            [weak = follower.weak_from_this(), follow](UIElement& changed, ElementProperty property) {
                if (const auto held = weak.lock(); held && property == ElementProperty::Visibility) {
                    follow(static_cast<FrameworkElement&>(*held), changed.Visibility());
                }
            });
    }

    /// Whether a change of `other`'s visibility reaches `element`.
    bool Follows(const UIElement& element, const UIElement& other) const {
        return &element == &other || std::ranges::any_of(m_followers, [&](const auto& pair) {
            return pair.first == &element && Follows(*pair.second, other);
        });
    }

    /// Visible while the leader, a text block, which may be the follower itself, has a text.
    static void FollowText(FrameworkElement& follower, UIElement& leader) {
        const auto follow = [](FrameworkElement& element, const UIElement& other) {
            const auto* const block = dynamic_cast<const TextBlock*>(&other);
            element.Visibility(block != nullptr && !block->Text().empty() ? Visibility::Visible
                                                                          : Visibility::Collapsed);
        };
        follow(follower, leader);
        leader.PropertyChanged().Add(
            [weak = follower.weak_from_this(), follow](UIElement& changed, ElementProperty property) {
                if (const auto held = weak.lock(); held && property == ElementProperty::Text) {
                    follow(static_cast<FrameworkElement&>(*held), changed);
                }
            });
    }

    template <typename T, typename Apply>
    void Bind(const std::map<std::u16string_view, std::function<T()>>& properties, const pugi::xml_node& node,
              const std::string& bound, FrameworkElement& element, Apply apply) {
        const auto found = properties.find(FromUtf8(bound));
        if (found == properties.end()) {
            m_source.Fail(node, "there is no property '" + bound + "' to bind");
        }
        const auto refresh = [read = found->second, apply] { apply(read()); };
        refresh();
        element.AddBinding(refresh);
    }

    std::shared_ptr<UIElement> FindNamed(const pugi::xml_node& node, const std::string& name) {
        const auto found = m_named.find(FromUtf8(name));
        if (found == m_named.end()) {
            m_source.Fail(node, "there is no element named '" + name + "'");
        }
        return found->second;
    }

    ContentControl& m_root;
    std::string m_displayPath;
    XmlSource m_source;
    const ComponentCode& m_code;
    std::map<std::u16string, std::shared_ptr<UIElement>, std::less<>> m_named;
    std::vector<std::function<void()>> m_afterwards;
    /// Each with the element whose visibility it follows.
    std::vector<std::pair<const UIElement*, const UIElement*>> m_followers;
};

}  // namespace

std::shared_ptr<UIElement> NamedElements::FindElement(std::u16string_view name) const {
    const auto found = m_elements.find(name);
    return found != m_elements.end() ? found->second : nullptr;
}

void NamedElements::Fail(std::u16string_view name, std::u16string_view problem) const {
    const Exception failure(result::kMarkup, FromUtf8(m_file) + u": the element '" + std::u16string(name) +
                                                 u"' " + std::u16string(problem));
    FailActivation(std::make_exception_ptr(failure));
    throw failure;
}

NamedElements LoadComponent(ContentControl& root, std::u16string_view uri, const ComponentCode& code) {
    VerifyUserInterfaceThread();
    try {
        return MarkupReader(root, ReadPackageUri(uri), code).Read();
    } catch (...) {
        FailActivation(std::current_exception());
        throw;
    }
}

}  // namespace platform
