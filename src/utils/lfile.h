#ifndef _LFILE_H
#define _LFILE_H

#include <fstream>
#include <iostream>
#include <string>

// Log: everything printed goes to the screen and to the log file, each switchable.
// The screen is standard output, or standard error once standard output carries data
// (screenToStderr). On a terminal it gets colours and progress lines that rewrite themselves
// with "\r"; elsewhere (a file, a pipe) colours are dropped and a progress line is written
// once, in the state it has when its line ends. Warnings and errors go to standard error.
class lfile {
public:
	std::string file;
	std::ofstream fd;
	bool verboseC;
	bool verboseL;
	// When false, error throws myException with its text instead of ending the process:
	// the fuzzing harnesses keep running after a reader has refused its input.
	bool exitOnError;
	// The screen stream, and whether it and standard error are terminals.
	std::ostream * screen;
	bool terminal;
	bool errorTerminal;

	lfile();
	~lfile();

	// Opens the file at once, or, with `now` false, keeps what is logged in memory until
	// start(): a run that fails before its work writes no log unless `keepOnError`.
	bool open(std::string name, bool now = true);
	bool start();
	// The log of a run refused before its work, whose name must not be written.
	void forget();
	bool keepOnError;
	void close();
	std::string name();
	std::string getPrefix();

	void muteL();
	void unmuteL();
	void muteC();
	void unmuteC();
	void screenToStderr();

	void print(std::string s);
	void println(std::string s);
	void printL(std::string s);
	void printlnL(std::string s);
	void printC(std::string s);
	void printlnC(std::string s);

	void warning(std::string s);
	[[noreturn]] void error(std::string s);

	// Text for a stream: as it is on a terminal, without colour codes elsewhere.
	static std::string plain(const std::string & s, bool terminal);

private:
	// Log text held until start().
	std::string held;
	bool holding;
	// Off a terminal: the screen line being built, and whether a "\r" has asked for it to
	// be rewritten by the next character.
	std::string line;
	bool rewrite;

	void toFile(const std::string & s);
	void toScreen(const std::string & s);
	void endScreenLine();
	void message(const std::string & label, const std::string & s);
};

extern lfile LOG;

#endif
