#include "site/holdings.h"

namespace {

/// The pipes of the child that the station may just be waiting for.
constexpr int kChildDescriptors = 4;
/// A sanitizer keeps freed memory and history of its own; its leak check sees what matters.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryTells = false;
#else
constexpr bool kMemoryTells = true;
#endif

} // namespace

QString Holdings::text() const
{
    return QStringLiteral("%1 threads, %2 descriptors, %3 KiB")
        .arg(threads)
        .arg(descriptors)
        .arg(memory_kib);
}

QString leftBehind(const Holdings& idle, const Holdings& after, int memory_slack_kib)
{
    const bool more = after.threads > idle.threads ||
                      after.descriptors > idle.descriptors + kChildDescriptors ||
                      (kMemoryTells && after.memory_kib > idle.memory_kib + memory_slack_kib);
    return more ? QStringLiteral("%1, and idle %2").arg(after.text(), idle.text()) : QString();
}
