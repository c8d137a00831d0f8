#ifndef _LFILE_H
#define _LFILE_H

#include <fstream>
#include <string>

// Log: everything printed goes to the screen and to the log file, each switchable.
class lfile {
public:
	std::string file;
	std::ofstream fd;
	bool verboseC;
	bool verboseL;
	// When false, error throws myException with its text instead of ending the process:
	// the fuzzing harnesses keep running after a reader has refused its input.
	bool exitOnError;

	lfile();

	bool open(std::string name);
	void close();
	std::string name();
	std::string getPrefix();

	void muteL();
	void unmuteL();
	void muteC();
	void unmuteC();

	void print(std::string s);
	void println(std::string s);
	void printL(std::string s);
	void printlnL(std::string s);
	void printC(std::string s);
	void printlnC(std::string s);

	void warning(std::string s);
	[[noreturn]] void error(std::string s);
};

extern lfile LOG;

#endif
