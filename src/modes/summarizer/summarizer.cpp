#include "modes/summarizer/summarizer.h"
#include "input/genotype_checker.h"
#include "input/genotype_reader.h"
#include "input/reference_reader.h"
#include "objects/snp_set.h"
#include "utils/lfile.h"

#include <map>

summarizer::summarizer() : sorvane("Summarizer") {
}

summarizer::~summarizer() {
}

void summarizer::declare_options() {
	sorvane::declare_options();
	bpo::options_description opt_input ("\033[33mInput files options\033[0m", 80, 40);
	declareUnphasedInput(opt_input);
	descriptions.add(opt_input);
}

void summarizer::check_options() {
	sorvane::check_options();
	checkUnphasedOptions();
}

void summarizer::check_files() {
	sorvane::check_files();
	checkUnphasedFiles();
}

void summarizer::verbose_mode() {
	sorvane::verbose_mode();
	LOG.printlnL("\nMODE -summarise : GENERATING SUMMARY STATISTICS OF THE INPUT DATA");
	LOG.printlnC("\nMODE \033[33m-summarise\033[0m : GENERATING SUMMARY STATISTICS OF THE INPUT DATA");
	if (options.count("chrX")) LOG.println("  * Allosome (chrX)");
	else LOG.println("  * Autosome (chr1 ... chr22)");
	if (options.count("input-ref")) LOG.println("  * Reference panel of haplotypes used");
	else LOG.println("  * No reference panel used");
}

void summarizer::verbose_options() {
	sorvane::verbose_options();
	if (options.count("noped")) LOG.println("  * Pedigree information not taken into account");
}

void summarizer::read_files_and_initialise() {
	sorvane::read_files_and_initialise();
	genotype_reader readerG(filter_in, options.count("chrX") > 0);
	readGenotypes(readerG);

	reference_reader readerR(filter_in, readerG.sites.get());
	if (options.count("input-ref")) {
		std::vector < std::string > f = options["input-ref"].as < std::vector < std::string > > ();
		readerR.readReferenceImpute(f[0], f[1], f[2]);
	} else if (readerG.ind_id.size() < 50) {
		LOG.warning("It is advice to use a reference panel when dealing with less than 50 individuals");
	}

	if (options.count("input-map")) readGeneticMap(options["input-map"].as < std::string > (), readerG.sites.get());

	genotype_checker checkerG(readerG, readerR, options.count("chrX") > 0, false);
	if (options.count("noped")) checkerG.resetPedigrees();
	checkerG.checkGenotypeData();
	// The build order is not used here: ordering runs for its test of complex pedigrees.
	std::vector < std::map < std::string, int > > units;
	checkerG.order(units);
}
