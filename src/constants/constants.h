#pragma once

/**
 * The words that the members of the plug-in family share: keys and fixed values of chunks and of JSON
 * objects, format strings, plug-in names, settings. Namespaces say what a word belongs to; a word that
 * several structures use is listed with each. Every function may be called from any thread; the text
 * returned shares one literal and allocates nothing.
 */
#include "constants/chunk.h"
#include "constants/context.h"
#include "constants/jsonobject.h"
#include "constants/k7pluginadswiss.h"
#include "constants/k7pluginmediwincb.h"
#include "constants/k7pluginpalliacare.h"
#include "constants/mediwincb.h"
#include "constants/qstring.h"
#include "constants/request.h"
#include "constants/response.h"
#include "constants/vexoform.h"
