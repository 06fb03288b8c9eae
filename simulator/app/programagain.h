#pragma once

#include <QStringList>

/// This program again with the same arguments, and more, in place of this process, before it has
/// threads. Returns only to throw BadInput.
namespace programagain {

/// On a display of its own.
[[noreturn]] void onOwnDisplay(const QStringList& arguments);
/// Where it may mount what nobody else sees. Not twice: see hasOwnMounts().
[[noreturn]] void withOwnMounts(const QStringList& arguments);
bool hasOwnMounts();

} // namespace programagain
