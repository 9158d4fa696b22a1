#include <zun/text/AVersion.h>

#include <array>
#include <cwchar>

AVersion::AVersion(int part1, int part2, int part3, int part4) {
    set(part1, part2, part3, part4);
}

AVersion::AVersion(wchar_t const* text) {
    set(text);
}

void AVersion::set(int part1, int part2, int part3, int part4) {
    m_packed = 0;
    int shift = 48;
    for (int const part : {part1, part2, part3, part4}) {
        m_packed |= static_cast<std::uint64_t>(std::int64_t{part}) << shift;
        shift -= 16;
    }
}

void AVersion::set(wchar_t const* text) {
    std::array<int, 4> parts{};
    wchar_t const* position = text ? text : L"";
    for (int& part : parts) {
        wchar_t* end = nullptr;
        part = static_cast<int>(std::wcstol(position, &end, 10));
        if (end == position || *end != L'.')
            break;
        position = end + 1;
    }
    set(parts[0], parts[1], parts[2], parts[3]);
}

AString AVersion::getString() const {
    AString text(get1());
    for (int const part : {get2(), get3(), get4()})
        text << L'.' << part;
    return text;
}

int AVersion::compare(AVersion const* other) const {
    if (m_packed < other->m_packed)
        return -1;
    return m_packed > other->m_packed ? 1 : 0;
}
