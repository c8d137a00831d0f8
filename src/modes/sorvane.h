#ifndef _SORVANE_H
#define _SORVANE_H

#include "input/filter_reader.h"
#include "output/filter_writer.h"
#include "utils/globals.h"

#include <boost/program_options.hpp>
#include <string>
#include <vector>

namespace bpo = boost::program_options;

class genotype_reader;
class snp_set;

// The frame every mode derives from: common options, parsing, log, banner, filters, seeding.
class sorvane {
public:
	const std::string mode_name;
	filter_reader filter_in;
	filter_writer filter_out;
	bpo::options_description descriptions;
	bpo::variables_map options;

	// name: what the mode's messages call it ("Phaser", "Converter", ...).
	explicit sorvane(const std::string & name);
	virtual ~sorvane();

	// The run of every mode: each step ends before the next begins, and a failure at any
	// of them ends the process.
	void run(std::vector < std::string > & args);

	virtual void declare_options();
	virtual void check_options();
	virtual void check_files();
	virtual void verbose_mode();
	virtual void verbose_options();
	// Takes the checked options into the mode's typed settings; nothing by default.
	virtual void settle();
	virtual void read_files_and_initialise();
	// The mode's work between reading and writing; nothing by default.
	virtual void work();
	virtual void write_files_and_finalise();

	void parse_command_line(std::vector < std::string > & args, std::string mode);
	// What the program prints without a mode's options, and to --version.
	static std::string usage();
	static std::string version();
	// Two outputs of one name, or an output that is also an input, stop the run before any
	// file is read or written.
	void checkOutputNames();
	[[noreturn]] static void logFailure(const std::string & name);

	// The options, checks and steps shared by the modes that read unphased genotypes.
	void declareUnphasedInput(bpo::options_description & group);
	void checkUnphasedOptions();
	void checkUnphasedFiles();
	void checkInputFileSet(std::string option, std::vector < std::string > suffixes, unsigned int count, std::string message);
	void checkInputFile(std::string option);
	void checkOutputFile(std::string option);
	// Output files given as one stem, to which the suffixes are added, or in full, one a
	// suffix; any other count stops the run.
	void checkOutputFileSet(std::string option, std::vector < std::string > suffixes);

	// Shared steps of the modes that read unphased genotypes.
	std::vector < std::string > fileSet(std::string option, std::vector < std::string > suffixes);
	void readGenotypes(genotype_reader & readerG);
	void readGeneticMap(std::string file, snp_set * sites);
};

#endif
