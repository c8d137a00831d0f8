#include "utils/globals.h"

time_t START_DATE;
unsigned char flippable = 0;
