#include "system/sha256.h"

#include <new>

namespace {

/// Of valid arguments the library refuses none: it lacks the memory.
void require(bool done)
{
    if (!done)
        throw std::bad_alloc();
}

} // namespace

Sha256::Sha256()
    : m_context(EVP_MD_CTX_new(), EVP_MD_CTX_free)
{
    require(m_context && EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr) == 1);
}

void Sha256::add(const char* data, qint64 bytes)
{
    require(EVP_DigestUpdate(m_context.get(), data, size_t(bytes)) == 1);
}

QByteArray Sha256::result()
{
    QByteArray digest(EVP_MD_size(EVP_sha256()), Qt::Uninitialized);
    require(EVP_DigestFinal_ex(m_context.get(), reinterpret_cast<unsigned char*>(digest.data()),
                               nullptr) == 1);
    return digest;
}
