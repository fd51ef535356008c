// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/CompiledPattern.h"

#define PCRE2_CODE_UNIT_WIDTH 16
#include <pcre2.h>

namespace {

QString errorText(int code)
{
    PCRE2_UCHAR16 buffer[256];
    const int length = pcre2_get_error_message_16(code, buffer, std::size(buffer));
    return length < 0 ? QStringLiteral("error %1").arg(code)
                      : QString::fromUtf16(reinterpret_cast<const char16_t*>(buffer), length);
}

} // namespace

CompiledPattern::CompiledPattern(QStringView pattern, Classes classes)
{
    uint32_t options = 0;
    if (classes == Classes::unicode)
        options |= PCRE2_UCP;
    int errorCode = 0;
    PCRE2_SIZE errorOffset = 0;
    pcre2_code_16* code =
        pcre2_compile_16(reinterpret_cast<PCRE2_SPTR16>(pattern.utf16()), size_t(pattern.size()),
                         options, &errorCode, &errorOffset, nullptr);
    if (!code) {
        m_error = errorText(errorCode) + QStringLiteral(" at ") + QString::number(errorOffset);
        return;
    }
    // Without the JIT (some architectures, hardened kernels) the interpreter answers the same.
    pcre2_jit_compile_16(code, PCRE2_JIT_COMPLETE);
    m_code = code;
    m_matchData = pcre2_match_data_create_from_pattern_16(code, nullptr);
    uint32_t captures = 0;
    pcre2_pattern_info_16(code, PCRE2_INFO_CAPTURECOUNT, &captures);
    m_groups = int(captures) + 1;
}

CompiledPattern::~CompiledPattern()
{
    pcre2_match_data_free_16(m_matchData);
    pcre2_code_free_16(m_code);
}

bool CompiledPattern::match(QStringView subject, qsizetype offset)
{
    m_subject = subject;
    m_matched = false;
    if (!isValid() || offset < 0 || offset > subject.size())
        return false;
    // An empty view may have no data at all; PCRE2 wants a pointer even for no text.
    static const char16_t empty = 0;
    const auto* units = reinterpret_cast<PCRE2_SPTR16>(subject.isNull() ? &empty : subject.utf16());
    const int result = pcre2_match_16(m_code, units, size_t(subject.size()), size_t(offset), 0,
                                      m_matchData, nullptr);
    m_matched = result > 0;
    return m_matched;
}

bool CompiledPattern::hasCaptured(int group) const
{
    return capturedStart(group) >= 0;
}

qsizetype CompiledPattern::capturedStart(int group) const
{
    if (!m_matched || group < 0 || group >= m_groups)
        return -1;
    const PCRE2_SIZE start = pcre2_get_ovector_pointer_16(m_matchData)[2 * group];
    return start == PCRE2_UNSET ? -1 : qsizetype(start);
}

qsizetype CompiledPattern::capturedEnd(int group) const
{
    if (!m_matched || group < 0 || group >= m_groups)
        return -1;
    const PCRE2_SIZE end = pcre2_get_ovector_pointer_16(m_matchData)[2 * group + 1];
    return end == PCRE2_UNSET ? -1 : qsizetype(end);
}

QStringView CompiledPattern::capturedView(int group) const
{
    const qsizetype start = capturedStart(group);
    return start < 0 ? QStringView() : m_subject.sliced(start, capturedEnd(group) - start);
}
