#include "optionalplugin.h"
