#include "utils/lfile.h"
#include "utils/futils.h"
#include "utils/myException.h"

#include <cstdlib>
#include <unistd.h>

lfile LOG;

lfile::lfile() : verboseC(true), verboseL(true), exitOnError(true), screen(&std::cout), terminal(isatty(1)), errorTerminal(isatty(2)), keepOnError(true), holding(false), rewrite(false) {
}

lfile::~lfile() {
	endScreenLine();
}

bool lfile::open(std::string name, bool now) {
	file = name;
	if (futils::extensionFile(file) != "log") file += ".log";
	held.clear();
	holding = !now;
	if (holding) return true;
	fd.open(file.c_str(), std::ios::out | std::ios::trunc);
	return fd.good();
}

bool lfile::start() {
	if (!holding) return fd.is_open() && fd.good();
	holding = false;
	fd.open(file.c_str(), std::ios::out | std::ios::trunc);
	fd << held;
	fd.flush();
	held.clear();
	return fd.good();
}

void lfile::forget() {
	holding = false;
	held.clear();
	keepOnError = false;
}

void lfile::close() {
	endScreenLine();
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

void lfile::screenToStderr() {
	endScreenLine();
	screen = &std::cerr;
	terminal = errorTerminal;
}

std::string lfile::plain(const std::string & s, bool terminal) {
	if (terminal) return s;
	std::string out;
	for (size_t i = 0 ; i < s.size() ; i ++) {
		if (s[i] == '\033' && i + 1 < s.size() && s[i + 1] == '[') {
			size_t end = s.find('m', i);
			if (end != std::string::npos) {
				i = end;
				continue;
			}
		}
		out += s[i];
	}
	return out;
}

void lfile::toFile(const std::string & s) {
	if (holding) held += s;
	else {
		fd << s;
		fd.flush();
	}
}

// Off a terminal, a line is written when it ends: "\r" only marks it for rewriting, so a
// progress line leaves its last state.
void lfile::toScreen(const std::string & s) {
	if (terminal) {
		*screen << s;
		screen->flush();
		return;
	}
	for (char c : plain(s, false)) {
		if (c == '\r') rewrite = true;
		else if (c == '\n') {
			*screen << line << '\n';
			line.clear();
			rewrite = false;
		} else {
			if (rewrite) line.clear();
			rewrite = false;
			line += c;
		}
	}
	screen->flush();
}

void lfile::endScreenLine() {
	if (line.empty()) return;
	*screen << line << '\n';
	screen->flush();
	line.clear();
	rewrite = false;
}

void lfile::print(std::string s) {
	printL(s);
	printC(s);
}

void lfile::println(std::string s) {
	printlnL(s);
	printlnC(s);
}

void lfile::printL(std::string s) {
	if (verboseL) toFile(s);
}

void lfile::printlnL(std::string s) {
	if (verboseL) toFile(s + "\n");
}

void lfile::printC(std::string s) {
	if (verboseC) toScreen(s);
}

void lfile::printlnC(std::string s) {
	if (verboseC) toScreen(s + "\n");
}

// Whatever the mute flags: on standard error, after the screen line under way.
void lfile::message(const std::string & label, const std::string & s) {
	endScreenLine();
	std::cerr << std::endl << plain("\033[33m" + label + ":\033[0m ", errorTerminal) << s << std::endl;
}

void lfile::warning(std::string s) {
	message("WARNING", s);
	if (verboseL) toFile("\nWARNING: " + s + "\n");
}

void lfile::error(std::string s) {
	message("ERROR", s);
	if (holding && keepOnError) start();
	if (verboseL && !holding) toFile("\nERROR: " + s + "\n");
	if (!exitOnError) throw myException(s);
	close();
	exit(1);
}
