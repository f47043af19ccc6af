#include <algorithm>
#include <new>

#include "platform/rpc/Binding.h"
#include "platform/rpc/ClientConnection.h"

namespace platform::rpc {

namespace {

/// The arguments of one call, read in declared order.
class Arguments {
  public:
    explicit Arguments(std::span<const RpcArgument> list) : m_rest(list) {}

    template <typename T>
    T Take() {
        const T* argument = m_rest.empty() ? nullptr : std::get_if<T>(&m_rest.front());
        if (argument == nullptr) {
            throw RpcException(status::kBadStubData);
        }
        m_rest = m_rest.subspan(1);
        return *argument;
    }

    template <typename T>
    T TakeReference() {
        const T pointer = Take<T>();
        if (pointer == nullptr) {
            throw RpcException(status::kNullReferencePointer);
        }
        return pointer;
    }

  private:
    std::span<const RpcArgument> m_rest;
};

/// Where a returned text is stored.
struct OutText {
    std::int32_t* Length = nullptr;
    char16_t** Text = nullptr;
};

/// One call on its way from arguments to values and back.
class ClientCall {
  public:
    ClientCall(const InterfaceDescription& interface, unsigned number, std::span<const RpcArgument> arguments)
        : m_interface(interface), m_procedure(ProcedureOf(interface, number)) {
        Arguments in(arguments);
        TakeHandle(in);
        for (std::size_t i = 0; i < kMaxParameters; ++i) {
            TakeParameter(in, m_procedure.Parameters[i], i);
        }
    }

    void Make() {
        m_binding->Call(m_interface, m_procedure, m_values, [this] { Receive(); });
    }

  private:
    static const Procedure& ProcedureOf(const InterfaceDescription& interface, unsigned number) {
        if (number >= interface.Procedures.size()) {
            throw RpcException(status::kProcedureOutOfRange);
        }
        return interface.Procedures[number];
    }

    void TakeHandle(Arguments& in) {
        if (m_procedure.Handle == Handle::Binding) {
            m_binding = in.Take<RPC_BINDING_HANDLE>();
            if (m_binding == nullptr) {
                throw RpcException(status::kInvalidBinding);
            }
        }
        if ((m_procedure.ContextFlags & context_flag::kThroughPointer) != 0) {
            m_context = in.TakeReference<RPC_CONTEXT_HANDLE*>();
        }
        if (!m_procedure.PassesContext(Direction::In)) {
            return;
        }
        const RPC_CONTEXT_HANDLE context = m_context != nullptr ? *m_context : in.Take<RPC_CONTEXT_HANDLE>();
        if (context == nullptr) {
            throw RpcException(status::kInNullContext);
        }
        m_binding = context->Owner;
        m_values.Context = context->Handle;
    }

    void TakeParameter(Arguments& in, const Parameter& parameter, std::size_t index) {
        Value& value = m_values.Parameters[index];
        switch (parameter.Kind) {
            case Kind::None:
            case Kind::String:  // callbacks only
                break;
            case Kind::Long:
                value.Number = in.Take<std::int32_t>();
                break;
            case Kind::Hyper:
                value.Number = in.Take<std::int64_t>();
                break;
            case Kind::CountedText: {
                auto* const length = in.TakeReference<std::int32_t*>();
                auto* const text = in.TakeReference<char16_t**>();
                if (parameter.Direction == Direction::Out) {
                    m_outTexts[index] = {length, text};
                    break;
                }
                value.Number = *length;
                if (*text != nullptr) {
                    if (*length < 0) {
                        throw RpcException(status::kInvalidBound);
                    }
                    value.Text = std::as_bytes(std::span(*text, static_cast<std::size_t>(*length)));
                }
                break;
            }
        }
    }

    void Receive() {
        std::array<char16_t*, kMaxParameters> texts{};
        RPC_CONTEXT_HANDLE opened = nullptr;
        try {
            for (std::size_t i = 0; i < kMaxParameters; ++i) {
                if (m_outTexts[i].Text != nullptr && m_values.Parameters[i].Text) {
                    texts[i] = AllocateText(*m_values.Parameters[i].Text);
                }
            }
            if (m_procedure.PassesContext(Direction::Out) && !m_values.Context.IsNull()) {
                opened = m_binding->OpenContext(m_values.Context);
            }
        } catch (...) {
            std::ranges::for_each(texts, [this](char16_t* text) {
                if (text != nullptr) {
                    m_interface.Free(text);
                }
            });
            throw;
        }
        for (std::size_t i = 0; i < kMaxParameters; ++i) {
            if (m_outTexts[i].Text != nullptr) {
                *m_outTexts[i].Text = texts[i];
                *m_outTexts[i].Length = static_cast<std::int32_t>(m_values.Parameters[i].Number);
            }
        }
        if (m_procedure.PassesContext(Direction::Out)) {
            if (m_procedure.PassesContext(Direction::In)) {
                m_binding->CloseContext(*m_context);
            }
            *m_context = opened;
        }
    }

    /// The characters and a zero after them, so that a caller who reads up to a zero stays inside.
    char16_t* AllocateText(ByteView characters) const {
        void* block = m_interface.Allocate(characters.size() + sizeof(char16_t));
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        std::byte* const end = Copy(characters, block);
        std::fill_n(end, sizeof(char16_t), std::byte{});
        return static_cast<char16_t*>(block);
    }

    const InterfaceDescription& m_interface;
    const Procedure& m_procedure;
    RPC_BINDING_HANDLE m_binding = nullptr;
    RPC_CONTEXT_HANDLE* m_context = nullptr;
    CallValues m_values;
    std::array<OutText, kMaxParameters> m_outTexts{};
};

}  // namespace

void NdrClientCall3(const InterfaceDescription& interface, unsigned procedure,
                    std::initializer_list<RpcArgument> arguments) {
    try {
        ClientCall(interface, procedure, std::span(arguments.begin(), arguments.size())).Make();
    } catch (const std::bad_alloc&) {
        throw RpcException(status::kOutOfMemory);
    }
}

}  // namespace platform::rpc
