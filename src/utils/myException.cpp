#include "utils/myException.h"

myException::myException(const std::string & _msg) : msg(_msg) {
}

const char * myException::what() const noexcept {
	return msg.c_str();
}
