#include "platform/xaml/MarkupAttributes.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>

#include "platform/core/Text.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/InfoBar.h"
#include "platform/xaml/Panels.h"

namespace platform::markup {

namespace {

using Value = const std::string&;

template <typename T>
struct Word {
    std::string_view text;
    T value;
};

template <typename T, std::size_t N>
T OneOf(Value value, const Word<T> (&words)[N]) {
    const auto* const found = std::find_if(std::begin(words), std::end(words),
                                           [&](const Word<T>& word) { return word.text == value; });
    if (found == std::end(words)) {
        throw BadValue{"unknown value '" + value + "'"};
    }
    return found->value;
}

constexpr Word<bool> kBooleans[] = {{"True", true}, {"False", false}};
constexpr Word<Visibility> kVisibilities[] = {{"Visible", Visibility::Visible},
                                              {"Collapsed", Visibility::Collapsed}};
constexpr Word<FlowDirection> kDirections[] = {{"LeftToRight", FlowDirection::LeftToRight},
                                               {"RightToLeft", FlowDirection::RightToLeft}};
constexpr Word<HorizontalAlignment> kHorizontal[] = {{"Left", HorizontalAlignment::Left},
                                                     {"Center", HorizontalAlignment::Center},
                                                     {"Right", HorizontalAlignment::Right},
                                                     {"Stretch", HorizontalAlignment::Stretch}};
constexpr Word<VerticalAlignment> kVertical[] = {{"Top", VerticalAlignment::Top},
                                                 {"Center", VerticalAlignment::Center},
                                                 {"Bottom", VerticalAlignment::Bottom},
                                                 {"Stretch", VerticalAlignment::Stretch}};
constexpr Word<Orientation> kOrientations[] = {{"Vertical", Orientation::Vertical},
                                               {"Horizontal", Orientation::Horizontal}};
constexpr Word<TextWrapping> kWrappings[] = {{"NoWrap", TextWrapping::NoWrap},
                                             {"Wrap", TextWrapping::Wrap},
                                             {"WrapWholeWords", TextWrapping::WrapWholeWords}};
constexpr Word<TextTrimming> kTrimmings[] = {{"None", TextTrimming::None},
                                             {"CharacterEllipsis", TextTrimming::CharacterEllipsis}};
constexpr Word<Symbol> kSymbols[] = {
    {"Copy", Symbol::Copy}, {"Volume", Symbol::Volume}, {"Back", Symbol::Back}, {"Stop", Symbol::Stop}};
constexpr Word<GridLength> kGridLengths[] = {{"Auto", GridLength::Auto}, {"*", GridLength::Star}};
constexpr Word<VirtualKeyModifiers> kModifiers[] = {{"Control", VirtualKeyModifiers::Control},
                                                    {"Menu", VirtualKeyModifiers::Menu},
                                                    {"Shift", VirtualKeyModifiers::Shift}};
constexpr Word<AutomationLiveSetting> kLiveSettings[] = {{"Off", AutomationLiveSetting::Off},
                                                         {"Polite", AutomationLiveSetting::Polite},
                                                         {"Assertive", AutomationLiveSetting::Assertive}};
constexpr Word<int> kHeadingLevels[] = {{"None", 0}, {"Level1", 1}, {"Level2", 2}, {"Level3", 3}};

std::vector<std::string> Pieces(std::string_view list) {
    std::vector<std::string> pieces;
    while (true) {
        const auto comma = std::min(list.find(','), list.size());
        auto piece = list.substr(0, comma);
        while (piece.starts_with(' ')) {
            piece.remove_prefix(1);
        }
        pieces.emplace_back(piece);
        if (comma == list.size()) {
            return pieces;
        }
        list.remove_prefix(comma + 1);
    }
}

template <typename Number>
Number ParseNumber(Value value) {
    Number number{};
    const auto* const end = value.data() + value.size();
    const auto [stop, error] = std::from_chars(value.data(), end, number);
    if (error != std::errc() || stop != end) {
        throw BadValue{"'" + value + "' is not a number"};
    }
    return number;
}

/// One number for all sides, two for left-and-right and top-and-bottom, or four from the left clockwise.
Thickness ParseThickness(Value value) {
    std::vector<double> sides;
    for (const auto& piece : Pieces(value)) {
        sides.push_back(ParseNumber<double>(piece));
    }
    switch (sides.size()) {
        case 1:
            return {sides[0], sides[0], sides[0], sides[0]};
        case 2:
            return {sides[0], sides[1], sides[0], sides[1]};
        case 4:
            return {sides[0], sides[1], sides[2], sides[3]};
        default:
            throw BadValue{"a thickness has one, two or four numbers"};
    }
}

std::vector<GridLength> ParseGridLengths(Value value) {
    std::vector<GridLength> lengths;
    for (const auto& piece : Pieces(value)) {
        lengths.push_back(OneOf(piece, kGridLengths));
    }
    return lengths;
}

std::u16string ParseStyle(Value value) {
    constexpr std::string_view kStart = "{StaticResource ";
    if (!value.starts_with(kStart) || !value.ends_with("}")) {
        throw BadValue{"a style is named as {StaticResource Name}"};
    }
    return FromUtf8(value.substr(kStart.size(), value.size() - kStart.size() - 1));
}

/// Changes one field of the element's layout.
template <auto Field, typename T>
void SetLayout(FrameworkElement& element, T value) {
    auto layout = element.Layout();
    layout.*Field = value;
    element.Layout(layout);
}

template <auto Field, typename T>
void SetAccessibility(FrameworkElement& element, T value) {
    auto accessibility = element.Accessibility();
    accessibility.*Field = std::move(value);
    element.Accessibility(std::move(accessibility));
}

void SetContentText(Button& button, Value value) {
    auto text = std::make_shared<TextBlock>();
    text->Text(FromUtf8(value));
    button.Content(std::move(text));
}

void SetAccessKey(Button& button, Value value) {
    if (value.empty()) {
        throw BadValue{"an access key is a letter"};
    }
    button.AccessKey(FromUtf8(value).front());
}

/// Adapts a setter for one kind of element; false for the others.
template <typename Element, void (*Setter)(Element&, Value)>
bool On(FrameworkElement& element, Value value) {
    auto* const fitting = dynamic_cast<Element*>(&element);
    if (fitting == nullptr) {
        return false;
    }
    Setter(*fitting, value);
    return true;
}

struct Attribute {
    std::string_view name;
    bool (*set)(FrameworkElement&, Value);
};

using E = FrameworkElement;
using L = ElementLayout;
using A = ElementAccessibility;

// One row per attribute and kind of element.
constexpr Attribute kAttributes[] = {
    {"Visibility", On<E, [](E& e, Value v) { e.Visibility(OneOf(v, kVisibilities)); }>},
    {"FlowDirection", On<E, [](E& e, Value v) { e.FlowDirection(OneOf(v, kDirections)); }>},
    {"Style", On<E, [](E& e, Value v) { e.Style(ParseStyle(v)); }>},
    {"Width", On<E, [](E& e, Value v) { SetLayout<&L::Width>(e, ParseNumber<double>(v)); }>},
    {"Height", On<E, [](E& e, Value v) { SetLayout<&L::Height>(e, ParseNumber<double>(v)); }>},
    {"MinWidth", On<E, [](E& e, Value v) { SetLayout<&L::MinWidth>(e, ParseNumber<double>(v)); }>},
    {"MinHeight", On<E, [](E& e, Value v) { SetLayout<&L::MinHeight>(e, ParseNumber<double>(v)); }>},
    {"MaxWidth", On<E, [](E& e, Value v) { SetLayout<&L::MaxWidth>(e, ParseNumber<double>(v)); }>},
    {"Margin", On<E, [](E& e, Value v) { SetLayout<&L::Margin>(e, ParseThickness(v)); }>},
    {"HorizontalAlignment",
     On<E, [](E& e, Value v) { SetLayout<&L::HorizontalAlignment>(e, OneOf(v, kHorizontal)); }>},
    {"VerticalAlignment",
     On<E, [](E& e, Value v) { SetLayout<&L::VerticalAlignment>(e, OneOf(v, kVertical)); }>},
    {"Grid.Row", On<E, [](E& e, Value v) { SetLayout<&L::Row>(e, ParseNumber<int>(v)); }>},
    {"Grid.Column", On<E, [](E& e, Value v) { SetLayout<&L::Column>(e, ParseNumber<int>(v)); }>},
    {"Grid.RowSpan", On<E, [](E& e, Value v) { SetLayout<&L::RowSpan>(e, ParseNumber<int>(v)); }>},
    {"Grid.ColumnSpan", On<E, [](E& e, Value v) { SetLayout<&L::ColumnSpan>(e, ParseNumber<int>(v)); }>},
    {"AutomationProperties.Name", On<E, [](E& e, Value v) { SetAccessibility<&A::Name>(e, FromUtf8(v)); }>},
    {"AutomationProperties.HeadingLevel",
     On<E, [](E& e, Value v) { SetAccessibility<&A::HeadingLevel>(e, OneOf(v, kHeadingLevels)); }>},
    {"AutomationProperties.LiveSetting",
     On<E, [](E& e, Value v) { SetAccessibility<&A::LiveSetting>(e, OneOf(v, kLiveSettings)); }>},
    {"ToolTipService.ToolTip", On<E, [](E& e, Value v) { SetAccessibility<&A::ToolTip>(e, FromUtf8(v)); }>},
    {"Padding", On<Panel, [](Panel& e, Value v) { e.Padding(ParseThickness(v)); }>},
    {"Padding", On<ContentControl, [](ContentControl& e, Value v) { e.Padding(ParseThickness(v)); }>},
    {"RowDefinitions", On<Grid, [](Grid& e, Value v) { e.RowDefinitions(ParseGridLengths(v)); }>},
    {"ColumnDefinitions", On<Grid, [](Grid& e, Value v) { e.ColumnDefinitions(ParseGridLengths(v)); }>},
    {"RowSpacing", On<Grid, [](Grid& e, Value v) { e.RowSpacing(ParseNumber<double>(v)); }>},
    {"ColumnSpacing", On<Grid, [](Grid& e, Value v) { e.ColumnSpacing(ParseNumber<double>(v)); }>},
    {"StackBelow", On<Grid, [](Grid& e, Value v) { e.StackBelow(ParseNumber<double>(v)); }>},
    {"StackSpacing", On<Grid, [](Grid& e, Value v) { e.StackSpacing(ParseNumber<double>(v)); }>},
    {"CenterAbove", On<Grid, [](Grid& e, Value v) { e.CenterAbove(ParseNumber<double>(v)); }>},
    {"HorizontalSpacing",
     On<WrapPanel, [](WrapPanel& e, Value v) { e.HorizontalSpacing(ParseNumber<double>(v)); }>},
    {"VerticalSpacing",
     On<WrapPanel, [](WrapPanel& e, Value v) { e.VerticalSpacing(ParseNumber<double>(v)); }>},
    {"Orientation", On<StackPanel, [](StackPanel& e, Value v) { e.Orientation(OneOf(v, kOrientations)); }>},
    {"Spacing", On<StackPanel, [](StackPanel& e, Value v) { e.Spacing(ParseNumber<double>(v)); }>},
    {"Content", On<Button, SetContentText>},
    {"AccessKey", On<Button, SetAccessKey>},
    {"IsDefault", On<Button, [](Button& e, Value v) { e.IsDefault(OneOf(v, kBooleans)); }>},
    {"IsEnabled", On<Button, [](Button& e, Value v) { e.IsEnabled(OneOf(v, kBooleans)); }>},
    {"Text", On<TextBlock, [](TextBlock& e, Value v) { e.Text(FromUtf8(v)); }>},
    {"TextWrapping", On<TextBlock, [](TextBlock& e, Value v) { e.TextWrapping(OneOf(v, kWrappings)); }>},
    {"TextTrimming", On<TextBlock, [](TextBlock& e, Value v) { e.TextTrimming(OneOf(v, kTrimmings)); }>},
    {"IsTextSelectionEnabled",
     On<TextBlock, [](TextBlock& e, Value v) { e.IsTextSelectionEnabled(OneOf(v, kBooleans)); }>},
    {"Text", On<TextBox, [](TextBox& e, Value v) { e.Text(FromUtf8(v)); }>},
    {"IsReadOnly", On<TextBox, [](TextBox& e, Value v) { e.IsReadOnly(OneOf(v, kBooleans)); }>},
    {"Glyph", On<FontIcon, [](FontIcon& e, Value v) { e.Glyph(FromUtf8(v)); }>},
    {"FontFamily", On<FontIcon, [](FontIcon& e, Value v) { e.FontFamily(FromUtf8(v)); }>},
    {"Symbol", On<SymbolIcon, [](SymbolIcon& e, Value v) { e.Symbol(OneOf(v, kSymbols)); }>},
    {"CloseButtonText", On<InfoBar, [](InfoBar& e, Value v) { e.CloseButtonText(FromUtf8(v)); }>},
    {"IsActive", On<ProgressRing, [](ProgressRing& e, Value v) { e.IsActive(OneOf(v, kBooleans)); }>},
};

}  // namespace

bool SetAttribute(FrameworkElement& element, std::string_view name, const std::string& value) {
    return std::any_of(std::begin(kAttributes), std::end(kAttributes), [&](const Attribute& attribute) {
        return attribute.name == name && attribute.set(element, value);
    });
}

bool SetAttribute(KeyboardAccelerator& accelerator, std::string_view name, const std::string& value) {
    if (name == "Key") {
        accelerator.Key = KeyOf(FromUtf8(value));
        if (accelerator.Key == VirtualKey::None) {
            throw BadValue{"there is no key '" + value + "'"};
        }
    } else if (name == "Modifiers") {
        for (const auto& piece : Pieces(value)) {
            accelerator.Modifiers = accelerator.Modifiers | OneOf(piece, kModifiers);
        }
    } else if (name == "AutomationProperties.Name") {
        accelerator.Name = FromUtf8(value);
    } else {
        return false;
    }
    return true;
}

std::string_view BoundName(std::string_view value) {
    constexpr std::string_view kStart = "{x:Bind ";
    if (!value.starts_with(kStart) || !value.ends_with("}")) {
        return {};
    }
    return value.substr(kStart.size(), value.size() - kStart.size() - 1);
}

}  // namespace platform::markup
