// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/Utf8Stream.h"

#include <algorithm>
#include <cstring>

namespace {

bool isContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// The length of the character a lead byte starts, or 0 when it cannot start one.
int sequenceLength(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    if (lead >= 0xF0 && lead <= 0xF4)
        return 4;
    return 0;
}

// The second byte is where overlong forms, surrogates and code points above U+10FFFF show.
bool isValidSecondByte(unsigned char lead, unsigned char second)
{
    switch (lead) {
    case 0xE0:
        return second >= 0xA0 && second <= 0xBF;
    case 0xED:
        return second >= 0x80 && second <= 0x9F;
    case 0xF0:
        return second >= 0x90 && second <= 0xBF;
    case 0xF4:
        return second >= 0x80 && second <= 0x8F;
    default:
        return isContinuation(second);
    }
}

// True when `bytes` (shorter than the character its first byte announces) can still become a
// valid character.
bool isValidBeginning(QByteArrayView bytes)
{
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    if (bytes.size() >= 2 && !isValidSecondByte(p[0], p[1]))
        return false;
    return std::all_of(p + std::min<qsizetype>(2, bytes.size()), p + bytes.size(), isContinuation);
}

} // namespace

int Utf8Stream::incompleteTail(QByteArrayView bytes)
{
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const qsizetype n = bytes.size();
    for (qsizetype k = 1; k <= std::min<qsizetype>(3, n); ++k) {
        const unsigned char byte = p[n - k];
        if (isContinuation(byte))
            continue;
        const int length = sequenceLength(byte);
        if (length <= k)
            return 0; // complete, or an invalid byte the full check will find
        return isValidBeginning(bytes.last(k)) ? int(k) : -1;
    }
    return 0;
}

bool Utf8Stream::append(QByteArrayView chunk, QByteArray& text)
{
    char completed[4];
    int completedSize = 0;
    if (m_heldSize > 0) {
        const int missing = sequenceLength(static_cast<unsigned char>(m_held[0])) - m_heldSize;
        const qsizetype taken = std::min<qsizetype>(missing, chunk.size());
        std::memcpy(m_held + m_heldSize, chunk.data(), size_t(taken));
        const QByteArrayView joined(m_held, m_heldSize + taken);
        if (!isValidBeginning(joined)) {
            m_heldSize = 0;
            return false;
        }
        if (taken < missing) {
            m_heldSize = int(joined.size());
            return true;
        }
        std::memcpy(completed, m_held, size_t(joined.size()));
        completedSize = int(joined.size());
        m_heldSize = 0;
        chunk = chunk.sliced(taken);
    }

    const int tail = incompleteTail(chunk);
    const QByteArrayView body = chunk.first(chunk.size() - std::max(tail, 0));
    if (tail < 0 || !body.isValidUtf8())
        return false;
    text.append(completed, completedSize);
    text.append(body);
    std::memcpy(m_held, chunk.data() + body.size(), size_t(std::max(tail, 0)));
    m_heldSize = std::max(tail, 0);
    return true;
}

bool Utf8Stream::finish()
{
    const bool held = m_heldSize > 0;
    m_heldSize = 0;
    return held;
}
