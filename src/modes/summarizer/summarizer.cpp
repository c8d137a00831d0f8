#include "modes/summarizer/summarizer.h"
#include "input/genotype_checker.h"
#include "input/genotype_reader.h"
#include "input/reference_reader.h"
#include "objects/snp_set.h"
#include "utils/lfile.h"

#include <map>

summarizer::summarizer() {
}

summarizer::~summarizer() {
}

void summarizer::summarize(std::vector < std::string > & args) {
	declare_options();
	parse_command_line(args, "Summarizer");
	check_options();
	check_files();
	verbose_mode();
	verbose_options();
	read_files_and_initialise();
	write_files_and_finalise();
}

void summarizer::declare_options() {
	sorvane::declare_options();
	bpo::options_description opt_input ("\033[33mInput files options\033[0m", 80, 40);
	opt_input.add_options()
		("input-ped,P", bpo::value< std::vector < std::string > >()->multitoken(), "Unphased genotypes in Plink PED/MAP format.")
		("missing-code", bpo::value< std::string >()->default_value("0"), "Missing data character in PED/MAP format.")
		("input-bed,B", bpo::value< std::vector < std::string > >()->multitoken(), "Unphased genotypes in Plink BED/BIM/FAM format.")
		("noped", "No pedigree information taken into account.")
		("input-gen,G", bpo::value< std::vector < std::string > >()->multitoken(), "Unphased genotypes in Fillgen2 GEN/SAMPLE format.")
		("input-thr", bpo::value< double >()->default_value(0.9, "0.9"), "Probability threshold used to call a genotype in GEN file.")
		("input-vcf,V", bpo::value< std::string >(), "Unphased genotypes in VCF format.")
		("input-map,M", bpo::value< std::string >(), "Genetic map in HapMap format.")
		("input-ref,R", bpo::value< std::vector < std::string > >()->multitoken(), "Reference set of haplotypes in Fillgen2 format.")
		("chrX,X", "Input data are from chromosome X non autosomal region.");
	descriptions.add(opt_input);
}

void summarizer::check_options() {
	sorvane::check_options();
	if (!options["input-thr"].defaulted()) {
		double thr = options["input-thr"].as < double > ();
		if (thr <= 0.5 || thr > 1) LOG.error("You must specify a --input-thr value comprised between 0.5 and 1");
	}
}

void summarizer::check_files() {
	sorvane::check_files();
	checkUnphasedInputCount();
	checkInputFileSet("input-bed", { ".bed", ".bim", ".fam" }, 3, "Incorrect number of arguments given to --input-bed (it must be 3 files)");
	checkInputFileSet("input-ped", { ".ped", ".map" }, 2, "Incorrect number of arguments given to --input-ped (it must be 2 files)");
	checkInputFileSet("input-gen", { ".gen", ".sample" }, 2, "Incorrect number of arguments given to --input-gen (it must be 2 files)");
	checkInputFile("input-vcf");
	checkInputFile("input-map");
	checkInputFileSet("input-ref", { }, 3, "Incorrect number of arguments given to --input-ref (it must be 3 files)");
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
