#include "pages/main/MachineTexts.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "platform/core/Text.h"

namespace Kelvane {

namespace {

struct Kind {
    /// In the details.
    std::u16string_view name;
    char16_t glyph;
    /// The resource key of its name.
    std::u16string_view text;
};
constexpr Kind kKinds[] = {
    {u"laptop", u'\uE7F8', u"MachineLaptop/Text"},     {u"desktop", u'\uE977', u"MachineDesktop/Text"},
    {u"allInOne", u'\uE7F4', u"MachineAllInOne/Text"}, {u"server", u'\uE968', u"MachineServer/Text"},
    {u"tablet", u'\uE70A', u"MachineTablet/Text"},     {u"board", u'\uE950', u"MachineBoard/Text"},
    {u"virtual", u'\uE8D4', u"MachineVirtual/Text"},
};
constexpr char16_t kUnknownGlyph = u'\uE9CE';

/// Null for one that is not known, which a later version may tell.
const Kind* KindOf(const MachineDetails& details) {
    const auto* const kind = std::ranges::find(kKinds, std::u16string_view(details.Kind), &Kind::name);
    return kind != std::end(kKinds) ? kind : nullptr;
}

std::u16string_view ReasonKey(MissingReason reason) {
    switch (reason) {
        case MissingReason::NotReported:
        case MissingReason::Placeholder:
            return u"ReasonNotReported/Text";
        case MissingReason::Absent:
            return u"ReasonAbsent/Text";
        case MissingReason::Denied:
            return u"ReasonDenied/Text";
        case MissingReason::Damaged:
            return u"ReasonDamaged/Text";
        case MissingReason::Unknown:
            break;
    }
    return u"ReasonUnknown/Text";
}

}  // namespace

std::u16string MachineGlyph(const MachineDetails* details) {
    const auto* const kind = details != nullptr ? KindOf(*details) : nullptr;
    return {kind != nullptr ? kind->glyph : kUnknownGlyph};
}

std::u16string MachineKind(const MachineDetails& details, const DisplayTexts& texts) {
    const auto* const kind = KindOf(details);
    return kind != nullptr ? texts.Lookup(kind->text) : u"";
}

std::u16string MachineLine(const MachineDetails& details, const DisplayTexts& texts) {
    auto kind = MachineKind(details, texts);
    const auto& maker = details.Maker.Value;
    if (maker.empty()) {
        return kind;
    }
    return Filled(texts.Lookup(kind.empty() ? u"MadeBy/Text" : u"MachineByMaker/Text"),
                  {{u"{kind}", kind}, {u"{maker}", maker}});
}

std::u16string TextRow(const std::u16string& label, const std::u16string& value) {
    auto row = label + (value.empty() ? u":" : u": ") + value;
    std::ranges::replace_if(row, platform::SteersTerminal, u' ');
    return row;
}

std::u16string MachineRows(const MachineDetails* details, const DisplayTexts& texts) {
    std::u16string rows;
    if (details != nullptr) {
        for (const auto& [label, value] : {std::pair(u"MachineKindLabel/Text", MachineKind(*details, texts)),
                                           std::pair(u"MachineMakerLabel/Text", details->Maker.Value)}) {
            rows += value.empty() ? u"" : TextRow(texts.Lookup(label), value) + u"\n";
        }
    }
    return rows;
}

const FieldDetails& FieldOf(const MachineDetails* details, const PageRow& row) {
    static const FieldDetails kNone;
    if (details == nullptr) {
        return kNone;
    }
    const auto found = details->Fields.find(row.Key);
    return found != details->Fields.end() ? found->second : kNone;
}

std::u16string ReasonText(const FieldDetails& field, const DisplayTexts& texts) {
    return field.Missing ? texts.Lookup(ReasonKey(*field.Missing)) : u"";
}

std::u16string SourceText(const FieldDetails& field) {
    return field.Source + (field.Detail.empty() ? u"" : u": ") + field.Detail;
}

}  // namespace Kelvane
