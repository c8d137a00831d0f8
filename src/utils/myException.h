#ifndef _MYEXCEPTION_H
#define _MYEXCEPTION_H

#include <exception>
#include <string>

// The one exception type: thrown by the models on numeric failure and by the graph readers.
class myException : public std::exception {
public:
	std::string msg;

	explicit myException(const std::string & msg);
	const char * what() const noexcept override;
};

#endif
