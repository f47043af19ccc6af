#include "platform/rpc/Ndr.h"

#include <algorithm>
#include <cstring>

namespace platform::rpc {

namespace {

constexpr std::uint64_t kFirstReferent = 0x00020000;
constexpr std::uint64_t kReferentStep = 4;

const Layout& LayoutOf(const TransferSyntax& syntax, Item item) {
    return syntax.Layouts[static_cast<std::size_t>(item)];
}

/// Visitor that writes.
class NdrWriter {
  public:
    NdrWriter(const TransferSyntax& syntax, Bytes& out) : m_syntax(syntax), m_out(out), m_start(out.size()) {}

    void Number(Item item, std::uint64_t value) { Put(item, &value); }
    void Context(const ContextHandle& handle) { Put(Item::Context, &handle); }

    void CountedText(const Value& value) {
        Number(Item::Long, static_cast<std::uint64_t>(value.Number));
        if (!value.Text) {
            Number(Item::Pointer, 0);
            return;
        }
        Number(Item::Pointer, m_referent);
        m_referent += kReferentStep;
        Number(Item::Count, value.Text->size() / sizeof(char16_t));
        Append(m_out, *value.Text);
    }

    void String(const Value& value) {
        const std::uint64_t count = value.Text->size() / sizeof(char16_t);
        Number(Item::Count, count);
        Number(Item::Count, 0);
        Number(Item::Count, count);
        Append(m_out, *value.Text);
    }

  private:
    void Put(Item item, const void* bytes) {
        const auto [size, alignment] = LayoutOf(m_syntax, item);
        const std::size_t position = m_out.size() + PaddingTo(alignment, m_out.size() - m_start);
        m_out.resize(position + size);
        Copy({static_cast<const std::byte*>(bytes), size}, m_out.data() + position);
    }

    const TransferSyntax& m_syntax;
    Bytes& m_out;
    const std::size_t m_start;
    std::uint64_t m_referent = kFirstReferent;
};

/// Visitor that reads, and trusts nothing.
class NdrReader {
  public:
    NdrReader(const TransferSyntax& syntax, ByteView stub)
        : m_syntax(syntax), m_cursor(stub, status::kBadStubData) {}

    void Number(Item item, std::int64_t& value) {
        const auto number = Number(item);
        value = item == Item::Long ? static_cast<std::int32_t>(number) : static_cast<std::int64_t>(number);
    }

    void Context(ContextHandle& handle) { Get(Item::Context, &handle); }

    void CountedText(Value& value) {
        Number(Item::Long, value.Number);
        if (Number(Item::Pointer) == 0) {
            value.Text.reset();
            return;
        }
        const std::uint64_t count = Number(Item::Count);
        value.Text = Characters(count);
        if (value.Number < 0 || static_cast<std::uint64_t>(value.Number) != count) {
            throw RpcException(status::kInvalidBound);
        }
    }

    void String(Value& value) {
        const std::uint64_t maximum = Number(Item::Count);
        const std::uint64_t offset = Number(Item::Count);
        const std::uint64_t count = Number(Item::Count);
        if (offset != 0 || count == 0 || count > maximum) {
            throw RpcException(status::kBadStubData);
        }
        value.Text = Characters(count);
        if (std::ranges::any_of(value.Text->last(sizeof(char16_t)),
                                [](std::byte b) { return b != std::byte{}; })) {
            throw RpcException(status::kBadStubData);
        }
    }

  private:
    void Get(Item item, void* bytes) {
        const auto [size, alignment] = LayoutOf(m_syntax, item);
        m_cursor.Align(alignment);
        std::memcpy(bytes, m_cursor.Take(size).data(), size);
    }

    std::uint64_t Number(Item item) {
        std::uint64_t value = 0;
        Get(item, &value);
        return value;
    }

    ByteView Characters(std::uint64_t count) {
        if (count > m_cursor.Left() / sizeof(char16_t)) {
            throw RpcException(status::kBadStubData);
        }
        return m_cursor.Take(count * sizeof(char16_t));
    }

    const TransferSyntax& m_syntax;
    Cursor m_cursor;
};

/// Hands the context handle and every parameter that travels in `direction` to `visitor`, in declared order.
template <typename Visitor, typename Values>
void Walk(const Procedure& procedure, Direction direction, Visitor& visitor, Values& values) {
    if (procedure.PassesContext(direction)) {
        visitor.Context(values.Context);
    }
    for (std::size_t i = 0; i < kMaxParameters; ++i) {
        const Parameter& parameter = procedure.Parameters[i];
        if (parameter.Direction != direction) {
            continue;
        }
        auto& value = values.Parameters[i];
        switch (parameter.Kind) {
            case Kind::None:
                break;
            case Kind::Long:
                visitor.Number(Item::Long, value.Number);
                break;
            case Kind::Hyper:
                visitor.Number(Item::Hyper, value.Number);
                break;
            case Kind::CountedText:
                visitor.CountedText(value);
                break;
            case Kind::String:
                visitor.String(value);
                break;
        }
    }
}

}  // namespace

std::optional<std::u16string> Value::CopyText() const {
    if (!Text) {
        return std::nullopt;
    }
    std::u16string text(Text->size() / sizeof(char16_t), u'\0');
    Copy(*Text, text.data());
    return text;
}

std::u16string Value::CopyString() const {
    auto text = CopyText().value();
    text.resize(text.find(u'\0'));
    return text;
}

const TransferSyntax* FindTransferSyntax(const SyntaxId& id) {
    const auto* found = std::ranges::find(kTransferSyntaxes, id, &TransferSyntax::Id);
    return found == kTransferSyntaxes.end() ? nullptr : found;
}

void Marshal(const TransferSyntax& syntax, const Procedure& procedure, Direction direction,
             const CallValues& values, Bytes& out) {
    NdrWriter writer(syntax, out);
    Walk(procedure, direction, writer, values);
}

void Unmarshal(const TransferSyntax& syntax, const Procedure& procedure, Direction direction, ByteView stub,
               CallValues& values) {
    NdrReader reader(syntax, stub);
    Walk(procedure, direction, reader, values);
}

void NdrServerCallAll(const TransferSyntax& syntax, const Procedure& procedure, ByteView request,
                      const std::function<void(CallValues&)>& routine, Bytes& answer) {
    CallValues values;
    Unmarshal(syntax, procedure, Direction::In, request, values);
    routine(values);
    Marshal(syntax, procedure, Direction::Out, values, answer);
}

}  // namespace platform::rpc
