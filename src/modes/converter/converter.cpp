#include "modes/converter/converter.h"
#include "utils/lfile.h"

converter::converter() {
}

converter::~converter() {
}

void converter::convert(std::vector < std::string > & args) {
	declare_options();
	parse_command_line(args, "Converter");
	check_options();
	check_files();
	verbose_mode();
	verbose_options();
	read_files_and_initialise();
	write_files_and_finalise();
}

void converter::verbose_mode() {
	sorvane::verbose_mode();
	LOG.printlnL("\nMODE -convert : EXTRACTING HAPLOTYPES FROM GRAPH FILES");
	LOG.printlnC("\nMODE \033[33m-convert\033[0m : EXTRACTING HAPLOTYPES FROM GRAPH FILES");
}

void converter::read_files_and_initialise() {
	LOG.error("The -convert mode is not available in this build yet");
}
