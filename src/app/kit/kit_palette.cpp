#include "app/kit/kit_palette.h"
