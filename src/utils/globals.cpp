#include "utils/globals.h"

time_t START_DATE;
std::string COMMAND_LINE;
unsigned char flippable = 0;
