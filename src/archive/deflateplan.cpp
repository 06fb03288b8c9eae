#include "archive/deflateplan.h"

#include "system/storagefile.h"

#include <QByteArray>

#include <array>
#include <optional>
#include <unistd.h>
#include <zlib.h>

namespace {

/// More than the distance at which a match is found.
constexpr qint64 kPieceBytes = qint64(48) * 1024;
/// How much larger than with the usual level the pieces may get.
constexpr double kTolerance = 1.005;

constexpr DeflatePlan kUsual{6, Z_DEFAULT_STRATEGY};
/// The one with the least work first: a half of the usual level's, three quarters.
constexpr std::array kCheaper{DeflatePlan{6, Z_HUFFMAN_ONLY}, DeflatePlan{3, Z_DEFAULT_STRATEGY}};

class Deflater
{
public:
    explicit Deflater(const DeflatePlan& plan)
    {
        m_ready = deflateInit2(&m_stream, plan.level, Z_DEFLATED, -MAX_WBITS, MAX_MEM_LEVEL,
                               plan.strategy) == Z_OK;
    }
    Deflater(const Deflater&) = delete;
    Deflater(Deflater&&) = delete;
    Deflater& operator=(const Deflater&) = delete;
    Deflater& operator=(Deflater&&) = delete;
    ~Deflater()
    {
        if (m_ready)
            deflateEnd(&m_stream);
    }

    std::optional<qint64> sizeOf(QByteArray piece)
    {
        if (!m_ready)
            return std::nullopt;
        QByteArray deflated(int(deflateBound(&m_stream, uLong(piece.size()))), Qt::Uninitialized);
        m_stream.next_in = reinterpret_cast<Bytef*>(piece.data());
        m_stream.avail_in = uInt(piece.size());
        m_stream.next_out = reinterpret_cast<Bytef*>(deflated.data());
        m_stream.avail_out = uInt(deflated.size());
        if (deflate(&m_stream, Z_FINISH) != Z_STREAM_END)
            return std::nullopt;
        return qint64(m_stream.total_out);
    }

private:
    z_stream m_stream{};
    bool m_ready = false;
};

using Pieces = std::array<QByteArray, 2>;

std::optional<Pieces> piecesOf(int fd)
{
    const qint64 bytes = storage::sizeOf(fd);
    if (bytes < DeflatePlan::kLeastBytes)
        return std::nullopt;
    const auto early = storage::readRange(fd, bytes / 4, kPieceBytes);
    const auto late = storage::readRange(fd, bytes / 4 * 3, kPieceBytes);
    return early && late ? std::make_optional(Pieces{*early, *late}) : std::nullopt;
}

std::optional<qint64> sizeOf(const Pieces& pieces, const DeflatePlan& plan)
{
    qint64 sum = 0;
    for (const QByteArray& piece : pieces) {
        const auto size = Deflater(plan).sizeOf(piece);
        if (!size)
            return std::nullopt;
        sum += *size;
    }
    return sum;
}

DeflatePlan cheapestFor(const Pieces& pieces)
{
    const auto usual = sizeOf(pieces, kUsual);
    for (const DeflatePlan& plan : kCheaper) {
        const auto size = sizeOf(pieces, plan);
        if (usual && size && double(*size) <= double(*usual) * kTolerance)
            return plan;
    }
    return kUsual;
}

} // namespace

DeflatePlan DeflatePlan::forFile(int fd)
{
    const auto pieces = piecesOf(fd);
    const DeflatePlan plan = pieces ? cheapestFor(*pieces) : kUsual;
    ::lseek(fd, 0, SEEK_SET);
    return plan;
}
