#include "pages/shortcuts/ShortcutsPage.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "logging/Trace.h"
#include "platform/resources/ResourceLoader.h"
#include "platform/xaml/Keyboard.h"
#include "platform/xaml/Markup.h"

namespace Kelvane {

namespace {

/// Words for keys, in the user's language: "Ctrl+Shift+C".
std::u16string KeysOf(const platform::Shortcut& shortcut) {
    const auto loader = platform::ResourceLoader::GetForCurrentView();
    using platform::VirtualKeyModifiers;
    constexpr std::pair<VirtualKeyModifiers, std::u16string_view> kModifiers[] = {
        {VirtualKeyModifiers::Control, u"KeyControl/Text"},
        {VirtualKeyModifiers::Menu, u"KeyMenu/Text"},
        {VirtualKeyModifiers::Shift, u"KeyShift/Text"}};
    std::u16string keys;
    for (const auto& [modifier, resource] : kModifiers) {
        if (HasModifier(shortcut.Modifiers, modifier)) {
            keys += loader->GetString(std::u16string(resource)) + u"+";
        }
    }
    if (shortcut.Character != 0) {
        return keys + shortcut.Character;
    }
    const std::u16string name(platform::NameOf(shortcut.Key));
    const auto word = loader->GetString(u"Key" + name + u"/Text");
    return keys + (word.empty() ? name : word);
}

}  // namespace

ShortcutsPage::ShortcutsPage() {
    const auto elements = platform::LoadComponent(
        *this, u"ms-appx:///ShortcutsPage.xaml",
        {.EventHandlers = {{u"Back_Click", [this](auto&, const auto&) { Return(); }}}});
    m_rows = elements.Find<platform::Panel>(u"Rows");
    WrapInTitleBar(*this, m_titleBar, TitleBarRing::Stopped);
}

void ShortcutsPage::Return() {
    Traced(u"Kelvane::ShortcutsPage::Return", [this](const Trace& trace) {
        GoBackFrom(trace, u"The window's content is not a frame",
                   [this] { UnwrapFromTitleBar(*this, m_titleBar); });
    });
}

void ShortcutsPage::OnNavigatedTo(const platform::NavigationEventArgs& args) {
    std::u16string_view rest = args.Parameter;
    while (!rest.empty()) {
        const auto tab = rest.find(u'\t');
        const auto end = rest.find(u'\n');
        AddRow(std::u16string(rest.substr(0, tab)), std::u16string(rest.substr(tab + 1, end - tab - 1)));
        rest.remove_prefix(end + 1);
    }
}

void ShortcutsPage::AddRow(std::u16string name, std::u16string keys) {
    auto row = std::make_shared<platform::UserControl>();
    const auto elements = platform::LoadComponent(*row, u"ms-appx:///ShortcutRow.xaml", {});
    elements.Find<platform::TextBlock>(u"ShortcutName")->Text(std::move(name));
    elements.Find<platform::TextBlock>(u"ShortcutKeys")->Text(std::move(keys));
    m_rows->Append(std::move(row));
}

void ShowShortcuts(platform::Frame& frame) {
    if (std::dynamic_pointer_cast<ShortcutsPage>(frame.Content())) {
        return;
    }
    // Several keys for one thing are one row.
    std::vector<std::pair<std::u16string, std::u16string>> rows;
    for (const auto& shortcut : platform::Shortcuts(frame)) {
        const auto row = std::ranges::find(rows, shortcut.Name, &decltype(rows)::value_type::first);
        if (row == rows.end()) {
            rows.emplace_back(shortcut.Name, KeysOf(shortcut));
        } else {
            row->second += u", " + KeysOf(shortcut);
        }
    }
    std::u16string list;
    for (const auto& [name, keys] : rows) {
        list += name;
        list += u"\t" + keys + u"\n";
    }
    frame.Navigate(u"Kelvane.ShortcutsPage", std::move(list));
}

}  // namespace Kelvane
