#pragma once

#include <zun/Api.h>

#include <bit>

// Integers between the host's byte order and little-endian (Le) or big-endian (Be) order; the digit is the
// width in bytes. Any thread may call these functions.

constexpr bool ComputerIsLe() {
    return std::endian::native == std::endian::little;
}

constexpr unsigned int ReverseBytes4(unsigned int value) {
    return value << 24 | (value & 0xff00u) << 8 | (value >> 8 & 0xff00u) | value >> 24;
}

constexpr unsigned short ReverseBytes2(unsigned short value) {
    return static_cast<unsigned short>(value << 8 | value >> 8);
}

constexpr unsigned int ReverseBytesWhenComputerIsBe4(unsigned int value) {
    return ComputerIsLe() ? value : ReverseBytes4(value);
}

constexpr unsigned short ReverseBytesWhenComputerIsBe2(unsigned short value) {
    return ComputerIsLe() ? value : ReverseBytes2(value);
}

constexpr unsigned int ReverseBytesWhenComputerIsLe4(unsigned int value) {
    return ComputerIsLe() ? ReverseBytes4(value) : value;
}

constexpr unsigned short ReverseBytesWhenComputerIsLe2(unsigned short value) {
    return ComputerIsLe() ? ReverseBytes2(value) : value;
}

constexpr unsigned int Host2Le4(unsigned int value) {
    return ReverseBytesWhenComputerIsBe4(value);
}

constexpr unsigned int Le2Host4(unsigned int value) {
    return ReverseBytesWhenComputerIsBe4(value);
}

constexpr unsigned short Host2Le2(unsigned short value) {
    return ReverseBytesWhenComputerIsBe2(value);
}

constexpr unsigned short Le2Host2(unsigned short value) {
    return ReverseBytesWhenComputerIsBe2(value);
}

constexpr unsigned int Host2Be4(unsigned int value) {
    return ReverseBytesWhenComputerIsLe4(value);
}

constexpr unsigned int Be2Host4(unsigned int value) {
    return ReverseBytesWhenComputerIsLe4(value);
}

constexpr unsigned short Host2Be2(unsigned short value) {
    return ReverseBytesWhenComputerIsLe2(value);
}

constexpr unsigned short Be2Host2(unsigned short value) {
    return ReverseBytesWhenComputerIsLe2(value);
}
