#include "core/dsp/dsprules.h"
