#include "modes/caller/caller.h"
#include "utils/lfile.h"

caller::caller() {
}

caller::~caller() {
}

void caller::call(std::vector < std::string > & args) {
	declare_options();
	parse_command_line(args, "Caller");
	check_options();
	check_files();
	verbose_mode();
	verbose_options();
	read_files_and_initialise();
}

void caller::verbose_mode() {
	sorvane::verbose_mode();
	LOG.printlnL("\nMODE -call : GENOTYPE CALLING");
	LOG.printlnC("\nMODE \033[33m-call\033[0m : GENOTYPE CALLING");
}

void caller::read_files_and_initialise() {
	LOG.error("The -call mode is not available in this build yet");
}
