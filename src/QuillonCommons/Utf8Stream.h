// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>

// Strict UTF-8 over a stream of chunks, such as the reads of one pipe. A character that a read
// cut in two is held back (at most three bytes) and completed by the next chunk, so text is
// never lost to where the reads happened to fall. A chunk with an invalid sequence anywhere
// else is dropped whole, together with what was held back before it, and a held-back
// sequence that the end of the stream leaves incomplete is dropped too.
class Utf8Stream
{
public:
    // Appends the chunk's whole characters (the one completed from the previous chunk first)
    // to `text`. Answers false, leaving `text` as it was, when the chunk is dropped.
    bool append(QByteArrayView chunk, QByteArray& text);

    // The bytes held back for the next chunk.
    QByteArrayView heldBack() const { return QByteArrayView(m_held, m_heldSize); }
    // Forgets what is held back; answers whether anything was.
    bool finish();

    // How many bytes at the end of `bytes` start a character that is not complete yet, when
    // they are a valid beginning of one; 0 when the end is complete, -1 when it is invalid.
    static int incompleteTail(QByteArrayView bytes);

private:
    char m_held[4] = {};
    int m_heldSize = 0;
};
