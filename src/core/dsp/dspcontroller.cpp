#include "core/dsp/dspcontroller.h"
