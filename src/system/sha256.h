#pragma once

#include <QByteArray>

#include <memory>
#include <openssl/evp.h>

/// A SHA-256 that grows with the bytes it is given. OpenSSL's, which takes a fraction of the
/// instructions that Qt's takes, most of all on ARM. Reentrant; an object stays on one thread.
class Sha256
{
public:
    Sha256();

    void add(const char* data, qint64 bytes);
    /// 32 bytes, once.
    QByteArray result();

private:
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_context;
};
