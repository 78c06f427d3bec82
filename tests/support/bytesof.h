#pragma once

#include <QByteArray>

/// The bytes of a literal that may hold NUL.
template <int size>
QByteArray bytesOf(const char (&literal)[size])
{
    return {literal, size - 1};
}
