#include "system/uniquefd.h"

#include <unistd.h>

UniqueFd::~UniqueFd()
{
    if (m_fd >= 0)
        ::close(m_fd);
}
