// Linked into every program of the tsan preset. The sanitizer reads a program's symbols at its
// first complaint, also at one that is to be suppressed, and holds a lock of the dynamic loader
// meanwhile. The preloaded device layer then asks for another one, which a thread that loads a
// plug-in may hold while it waits for the first: both stand still for ever. So they are read before
// there are threads.

#include <array>
#include <sanitizer/common_interface_defs.h>

namespace {

const bool symbols_read = [] {
    std::array<char, 64> name{};
    __sanitizer_symbolize_pc(__builtin_return_address(0), "%f", name.data(), name.size());
    return name.front() != '\0';
}();

} // namespace
