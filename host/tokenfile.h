#pragma once

#include "startfailure.h"

#include <QByteArray>

#include <variant>

/**
 * Reads the token that stands in the file at `path`, with white space around it or not. A file that is absent
 * is made first, with a random token, for the own user alone; it appears complete or not at all, and hosts
 * that do so at once agree on one. Its directory must be there.
 *
 * Refused with a failure that names the file and why: anything but a regular file of the own user or root
 * that group and others have no rights to, a file that is longer than 1024 bytes, and a token that is shorter
 * than 32 characters or not of the form that a request can show.
 */
[[nodiscard]] std::variant<QByteArray, StartFailure> readTokenFile(const QString &path);
