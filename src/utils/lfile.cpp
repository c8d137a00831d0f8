#include "utils/lfile.h"
#include "utils/futils.h"
#include "utils/myException.h"

#include <cstdlib>
#include <iostream>

lfile LOG;

lfile::lfile() : verboseC(true), verboseL(true), exitOnError(true) {
}

bool lfile::open(std::string name) {
	file = name;
	if (futils::extensionFile(file) != "log") file += ".log";
	fd.open(file.c_str(), std::ios::out | std::ios::trunc);
	return fd.good();
}

void lfile::close() {
	fd.close();
}

std::string lfile::name() {
	return file;
}

std::string lfile::getPrefix() {
	return file.substr(0, file.find_last_of("."));
}

void lfile::muteL() { verboseL = false; }
void lfile::unmuteL() { verboseL = true; }
void lfile::muteC() { verboseC = false; }
void lfile::unmuteC() { verboseC = true; }

void lfile::print(std::string s) {
	printL(s);
	printC(s);
}

void lfile::println(std::string s) {
	printlnL(s);
	printlnC(s);
}

void lfile::printL(std::string s) {
	if (verboseL) { fd << s; fd.flush(); }
}

void lfile::printlnL(std::string s) {
	if (verboseL) fd << s << std::endl;
}

void lfile::printC(std::string s) {
	if (verboseC) { std::cout << s; std::cout.flush(); }
}

void lfile::printlnC(std::string s) {
	if (verboseC) std::cout << s << std::endl;
}

void lfile::warning(std::string s) {
	std::cout << std::endl << "\033[33mWARNING:\033[0m " << s << std::endl;
	if (verboseL) fd << std::endl << "WARNING: " << s << std::endl;
}

void lfile::error(std::string s) {
	std::cout << std::endl << "\033[33mERROR:\033[0m " << s << std::endl;
	if (verboseL) fd << std::endl << "ERROR: " << s << std::endl;
	if (!exitOnError) throw myException(s);
	close();
	exit(1);
}
