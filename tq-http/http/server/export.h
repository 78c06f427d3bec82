#pragma once

#include <QtGlobal>

#ifdef TQ_HTTP_LIBRARY
#define TQ_HTTP_EXPORT Q_DECL_EXPORT
#else
#define TQ_HTTP_EXPORT Q_DECL_IMPORT
#endif
