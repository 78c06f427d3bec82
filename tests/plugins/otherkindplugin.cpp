#include "otherkindplugin.h"
