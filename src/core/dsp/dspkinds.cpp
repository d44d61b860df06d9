#include "core/dsp/dspkinds.h"
