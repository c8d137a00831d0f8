#include "modes/assembler/assembler.h"
#include "utils/lfile.h"

assembler::assembler() {
}

assembler::~assembler() {
}

void assembler::assemble(std::vector < std::string > & args) {
	declare_options();
	parse_command_line(args, "Assembler");
	check_options();
	check_files();
	verbose_mode();
	verbose_options();
	read_files_and_initialise();
}

void assembler::verbose_mode() {
	sorvane::verbose_mode();
	LOG.printlnL("\nMODE -assemble : READ AWARE PHASING");
	LOG.printlnC("\nMODE \033[33m-assemble\033[0m : READ AWARE PHASING");
}

void assembler::read_files_and_initialise() {
	LOG.error("The -assemble mode is not available in this build yet");
}
