#pragma once

#include <string>

namespace desktop {

/// A library that is loaded when it is first needed, for what most runs don't do: loaded at the start, the
/// libraries of speech and sound would take 2 MB. It stays loaded. Any thread.
class SharedLibrary {
  public:
    /// `file` as the dynamic loader finds it ("libpulse.so.0"). Throws a platform exception where it cannot
    /// be loaded.
    explicit SharedLibrary(std::string file);

    /// A function of the library; it becomes a pointer of the type that the library's header gives it.
    class Function {
      public:
        explicit Function(void* address) : m_address(address) {}
        template <typename Type>
        operator Type*() const {
            return reinterpret_cast<Type*>(m_address);
        }

      private:
        void* m_address;
    };
    /// Throws a platform exception where the library has no such function.
    Function operator[](const char* name) const;

  private:
    const std::string m_file;
    void* m_handle;
};

}  // namespace desktop
