#pragma once

#include <string>

struct AFormat;

/// What makes AString's numbers and executes its requests: AFormat.cpp.
namespace format_engine {

/// Decimal, of the low 32 bits.
std::wstring text(long number);
std::wstring text(unsigned long number);
void append(std::wstring& text, long number);
void append(std::wstring& text, unsigned long number);
/// The low 32 bits as eight lower-case hexadecimal digits.
std::wstring text(void* pointer);
void append(std::wstring& text, void* pointer);

/// Replaces the text by the formatted value. The request's own text may be a part of `text`.
void execute(std::wstring& text, AFormat const& request);

} // namespace format_engine
