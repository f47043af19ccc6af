#include "platform/rpc/Ndr.h"

#include <algorithm>
#include <utility>

namespace platform::rpc {

namespace {

constexpr std::uint32_t kFirstReferent = 0x00020000;
constexpr std::uint32_t kReferentStep = 4;

/// Visitor that writes; pointers and counts are of type `Word`.
template <typename Word>
class NdrWriter {
  public:
    explicit NdrWriter(Buffer& out) : m_out(out), m_start(out.Size()) {}

    void Context(const ContextHandle& handle) { Put(handle, alignof(ContextHandle)); }
    void Long(std::int64_t value) { Put(static_cast<std::int32_t>(value)); }
    void Hyper(std::int64_t value) { Put(value); }

    void CountedText(const Value& value) {
        Long(value.Number);
        if (!value.Text) {
            Put(Word{0});
            return;
        }
        Put(std::exchange(m_referent, m_referent + kReferentStep));
        Put(CountOf(*value.Text));
        Append(m_out, *value.Text);
    }

    void String(const Value& value) {
        Put(CountOf(*value.Text));
        Put(Word{0});
        Put(CountOf(*value.Text));
        Append(m_out, *value.Text);
    }

  private:
    static Word CountOf(ByteView text) { return static_cast<Word>(text.size() / sizeof(char16_t)); }

    template <typename T>
    void Put(const T& value, std::size_t alignment = sizeof(T)) {
        const std::size_t padding = PaddingTo(alignment, m_out.Size() - m_start);
        std::byte* const end = m_out.Extend(padding + sizeof value);
        Store(std::fill_n(end, padding, std::byte{}), value);
    }

    Buffer& m_out;
    const std::size_t m_start;
    Word m_referent = kFirstReferent;
};

/// Visitor that reads likewise, and trusts nothing.
template <typename Word>
class NdrReader {
  public:
    explicit NdrReader(ByteView stub) : m_cursor(stub, status::kBadStubData) {}

    void Context(ContextHandle& handle) { handle = m_cursor.Take<ContextHandle>(alignof(ContextHandle)); }
    void Long(std::int64_t& value) { value = Get<std::int32_t>(); }
    void Hyper(std::int64_t& value) { value = Get<std::int64_t>(); }

    void CountedText(Value& value) {
        Long(value.Number);
        if (Get<Word>() == 0) {
            value.Text.reset();
            return;
        }
        const std::uint64_t count = Get<Word>();
        value.Text = Characters(count);
        if (value.Number < 0 || static_cast<std::uint64_t>(value.Number) != count) {
            throw RpcException(status::kInvalidBound);
        }
    }

    void String(Value& value) {
        const std::uint64_t maximum = Get<Word>();
        const std::uint64_t offset = Get<Word>();
        const std::uint64_t count = Get<Word>();
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
    template <typename T>
    T Get() {
        return m_cursor.Take<T>(sizeof(T));
    }

    ByteView Characters(std::uint64_t count) {
        if (count > m_cursor.Left() / sizeof(char16_t)) {
            throw RpcException(status::kBadStubData);
        }
        return m_cursor.Take(count * sizeof(char16_t));
    }

    Cursor m_cursor;
};

/// Hands the context handle and every parameter that travels in `direction` to `visitor`, in declared order.
template <typename Visitor, typename Values>
void Walk(const Procedure& procedure, Direction direction, Visitor visitor, Values& values) {
    if (procedure.PassesContext(direction)) {
        visitor.Context(values.Context);
    }
    for (std::size_t i = 0; i < kMaxParameters && procedure.Parameters[i].Kind != Kind::None; ++i) {
        const Parameter& parameter = procedure.Parameters[i];
        if (parameter.Direction != direction) {
            continue;
        }
        auto& value = values.Parameters[i];
        switch (parameter.Kind) {
            case Kind::None:
                break;
            case Kind::Long:
                visitor.Long(value.Number);
                break;
            case Kind::Hyper:
                visitor.Hyper(value.Number);
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
             const CallValues& values, Buffer& out) {
    if (syntax.WordSize == sizeof(std::uint64_t)) {
        Walk(procedure, direction, NdrWriter<std::uint64_t>(out), values);
    } else {
        Walk(procedure, direction, NdrWriter<std::uint32_t>(out), values);
    }
}

void Unmarshal(const TransferSyntax& syntax, const Procedure& procedure, Direction direction, ByteView stub,
               CallValues& values) {
    if (syntax.WordSize == sizeof(std::uint64_t)) {
        Walk(procedure, direction, NdrReader<std::uint64_t>(stub), values);
    } else {
        Walk(procedure, direction, NdrReader<std::uint32_t>(stub), values);
    }
}

void NdrServerCallAll(const TransferSyntax& syntax, const Procedure& procedure, ByteView request,
                      const std::function<void(CallValues&)>& routine, Buffer& answer) {
    CallValues values;
    Unmarshal(syntax, procedure, Direction::In, request, values);
    routine(values);
    Marshal(syntax, procedure, Direction::Out, values, answer);
}

}  // namespace platform::rpc
