// A plugin of the emulator: of every 100003rd instruction of the machine's one processor it writes
// the address, 32 bits each, to the file that its argument "out" names. A processor that waits
// executes nothing and leaves none. The emulator's own header comes in no package, so what is
// needed of its interface is declared here.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <string_view>

extern "C" {
struct qemu_plugin_tb;
struct qemu_info_t;
using qemu_plugin_id_t = std::uint64_t;

std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb* block);
std::uint64_t qemu_plugin_tb_vaddr(const qemu_plugin_tb* block);
void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                           void (*done)(qemu_plugin_id_t, qemu_plugin_tb*));
void qemu_plugin_register_vcpu_tb_exec_cb(qemu_plugin_tb* block, void (*done)(unsigned int, void*),
                                          int flags, void* data);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;
__attribute__((visibility("default"))) int
qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* info, int count, char** arguments);
}

namespace {

/// Of no loop's length.
constexpr std::uint64_t kInterval = 100'003;
constexpr int kReadsNoRegisters = 0;

std::FILE* samples = nullptr;
std::uint64_t executed = 0;
std::uint64_t next_sample = kInterval;

/// Instructions without a branch between them, as the emulator translates them.
struct Block
{
    std::uint32_t address = 0;
    std::size_t instructions = 0;
};

/// They stay where they are for the emulator, which does not tell when it forgets one.
std::deque<Block> blocks;

void execute(unsigned int /*processor*/, void* data)
{
    const auto* block = static_cast<const Block*>(data);
    executed += block->instructions;
    if (executed < next_sample)
        return;
    next_sample += kInterval;
    std::fwrite(&block->address, sizeof block->address, 1, samples);
}

void translate(qemu_plugin_id_t /*id*/, qemu_plugin_tb* translated)
{
    blocks.push_back(
        {std::uint32_t(qemu_plugin_tb_vaddr(translated)), qemu_plugin_tb_n_insns(translated)});
    qemu_plugin_register_vcpu_tb_exec_cb(translated, execute, kReadsNoRegisters, &blocks.back());
}

} // namespace

int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* /*info*/, int count,
                        char** arguments)
{
    const std::string_view out = "out=";
    if (count != 1 || std::string_view(arguments[0]).substr(0, out.size()) != out)
        return 1;
    samples = std::fopen(arguments[0] + out.size(), "wb");
    if (!samples)
        return 1;
    std::setvbuf(samples, nullptr, _IONBF, 0);
    qemu_plugin_register_vcpu_tb_trans_cb(id, translate);
    return 0;
}
