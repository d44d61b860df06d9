#include "core/dsp/dspundostack.h"
