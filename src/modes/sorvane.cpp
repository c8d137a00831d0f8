#include "modes/sorvane.h"
#include "input/genotype_reader.h"
#include "input/gmap_reader.h"
#include "objects/snp_set.h"
#include "output/vcf_output.h"
#include "utils/futils.h"
#include "utils/lfile.h"
#include "utils/putils.h"
#include "utils/sutils.h"

#include <iostream>
#include <map>
#include <sstream>

static const std::string input_options[4] = { "input-bed", "input-ped", "input-gen", "input-vcf" };

// The modes: the word that selects each, the name its messages use, and what it does.
static const struct { const char * word; const char * name; const char * what; } modes[6] = {
	{ "-phase", "Phaser", "phase genotypes (the default: a command line may start with its options)" },
	{ "-check", "Summarizer", "check a data set without phasing it" },
	{ "-convert", "Converter", "haplotypes from graph files, pair tables, conversion of haplotype files" },
	{ "-call", "Caller", "call genotypes from likelihoods by phasing" },
	{ "-assemble", "Assembler", "phase with phase informative reads" },
	{ "-mutinclude", "Mutincluder", "place new heterozygous sites onto known haplotypes" },
};

// Options naming files that a single value names as a stem, with these suffixes.
static const std::map < std::string, std::vector < std::string > > stem_suffixes = {
	{ "input-bed", { ".bed", ".bim", ".fam" } }, { "input-ped", { ".ped", ".map" } }, { "input-gen", { ".gen", ".sample" } },
	{ "input-init", { ".haps", ".sample" } }, { "input-haps", { ".haps", ".sample" } }, { "input-scaffold", { ".haps", ".sample" } },
	{ "output-max", { ".haps", ".sample" } }, { "output-sample", { ".haps", ".sample" } }, { "output-haps", { ".haps", ".sample" } },
	{ "output-ref", { ".haplotypes", ".legend", ".samples" } },
};

std::string sorvane::usage() {
	std::string text = "Usage: sorvane [MODE] [OPTIONS]\n\nEstimates the haplotypes of many individuals from their unphased genotypes at the\nbiallelic sites of one chromosome.\n\nModes:\n";
	for (const auto & m : modes) text += "  " + std::string(m.word) + std::string(13 - std::string(m.word).size(), ' ') + m.what + "\n";
	text += "\nThe options of a mode: sorvane MODE --help (for instance sorvane -phase --help).\n";
	text += "The version: sorvane --version. The manual: man sorvane.\n";
	return text;
}

std::string sorvane::version() {
	return "sorvane " + std::string(SORVANE_VERSION) + " (source revision " + sutils::int2str(SORVANE_REVISION) + ")";
}

sorvane::sorvane(const std::string & name) : mode_name(name), descriptions(80, 40) {
}

sorvane::~sorvane() {
}

void sorvane::run(std::vector < std::string > & args) {
	declare_options();
	parse_command_line(args, mode_name);
	check_options();
	settle();
	check_files();
	verbose_mode();
	verbose_options();
	read_files_and_initialise();
	work();
	write_files_and_finalise();
}

void sorvane::settle() {
}

void sorvane::work() {
}

void sorvane::declare_options() {
	bpo::options_description opt_base ("\033[33mBasic options\033[0m", 80, 40);
	opt_base.add_options()
		("help,H", "Produce help message.")
		("licence", "Produce licence description.")
		("version", "Produce version number.")
		("source", "Produce source file version details.")
		("seed", bpo::value< int >()->default_value(time(NULL)), "Seed of the random number generator.")
		("aligned", "Ref allele is aligned on the reference genome")
		("thread,T", bpo::value< int >()->default_value(1), "Number of thread used for phasing.")
		("output-log,L", bpo::value< std::string >()->default_value("sorvane_date_time_UUID.log"), "Log file containing a copy of the screen output.");

	bpo::options_description opt_subset ("\033[33mSubsetting options\033[0m", 80, 40);
	opt_subset.add_options()
		("exclude-snp", bpo::value< std::string >(), "List of positions to exclude in input/output files.")
		("include-snp", bpo::value< std::string >(), "List of positions to include in input/output files.")
		("exclude-ind", bpo::value< std::string >(), "List of samples to exclude in input/output files.")
		("include-ind", bpo::value< std::string >(), "List of samples to include in input/output files.")
		("exclude-grp", bpo::value< std::string >(), "List of populations to exclude in input files. Works only on the reference panel of haplotypes.")
		("include-grp", bpo::value< std::string >(), "List of populations to include in input files. Works only on the reference panel of haplotypes.")
		("input-from", bpo::value< double >()->default_value(0, "0"), "First physical position to consider in input files.")
		("input-to", bpo::value< double >()->default_value(1e9, "1e9"), "Last physical position to consider in input file.")
		("region", bpo::value< std::string >(), "Chromosome, or stretch of it, to read: CHR or CHR:FROM-TO (1-based, inclusive), through the index of a VCF/BCF file that has one.")
		("output-from", bpo::value< double >()->default_value(0, "0"), "First physical position to output.")
		("output-to", bpo::value< double >()->default_value(1e9, "1e9"), "Last physical position to output.");

	descriptions.add(opt_base).add(opt_subset);
}

void sorvane::parse_command_line(std::vector < std::string > & args, std::string mode) {
	std::string word = "-phase";
	for (const auto & m : modes) if (mode == m.name) word = m.word;
	// -h as well as -H and --help.
	for (std::string & a : args) if (a == "-h") a = "--help";
	try {
		bpo::store(bpo::command_line_parser(args).options(descriptions).run(), options);
		bpo::notify(options);
	} catch (bpo::error const & e) {
		std::cerr << mode << " mode : " << e.what() << std::endl;
		std::cerr << "The options of this mode: sorvane " << word << " --help" << std::endl;
		exit(1);
	}

	if (options.count("help")) {
		std::ostringstream text;
		text << "Usage: sorvane " << word << " [OPTIONS]\n\n" << descriptions << "\n";
		std::cout << lfile::plain(text.str(), LOG.terminal);
		exit(0);
	}
	if (options.count("version")) {
		std::cout << version() << std::endl;
		exit(0);
	}
	if (options.count("source")) {
		std::cerr << std::endl << "Files:" << std::endl << SORVANE_REVISION << std::endl;
		exit(0);
	}
	if (options.count("licence")) {
		std::cout << "sorvane is free software for academic and non-commercial use." << std::endl;
		std::cout << "It comes with absolutely no warranty: use it at your own risk." << std::endl;
		exit(0);
	}

	// Haplotypes streamed to standard output leave it to them: the screen goes to standard error.
	if (options.count("output-vcf")) {
		const std::string vcf = options["output-vcf"].as < std::string > ();
		if (vcf_output::toStdout(vcf) || futils::isStandardOutput(vcf)) LOG.screenToStderr();
	}
	LOG.printC("\n");
	LOG.printlnC("\033[33mS\033[0mampled \033[33mOR\033[0mdered \033[33mVA\033[0mriant \033[33mN\033[0mearest \033[33mE\033[0mstimator");
	LOG.printlnC("  * Authors : the sorvane developers");
	LOG.printlnC("  * Contact : through the project's issue tracker");
	LOG.printlnC("  * Webpage : see README.md in the source distribution");
	LOG.printlnC("  * Version : v2.r" + sutils::int2str(SORVANE_REVISION));
	LOG.printlnC("");

	// The log is written from the start of the work on; a run refused before writes none,
	// unless the user named it.
	const bool named = !options["output-log"].defaulted();
	std::string name = "sorvane_" + sutils::date2str(&START_DATE, "%d%m%Y_%Hh%Mm%Ss") + "_" + putils::getRandomID() + ".log";
	if (named) name = options["output-log"].as < std::string > ();
	LOG.open(name, false);
	LOG.keepOnError = named;
	if (named && !futils::createFile(LOG.name())) logFailure(name);
	flippable = 1;

	LOG.printlnL("Mode    : " + mode);
	LOG.printL("Options :");
	for (const std::string & a : args) LOG.printL(" " + a);
	LOG.printlnL("");
}

[[noreturn]] void sorvane::logFailure(const std::string & name) {
	std::cerr << "Impossible to open log file[" << name << "] check writing permissions!" << std::endl;
	exit(1);
}

// Every file that the run reads and writes, by option; the log counts as an output.
void sorvane::checkOutputNames() {
	std::vector < std::pair < std::string, std::string > > inputs, outputs = { { "output-log", LOG.name() } };
	for (const auto & o : options) {
		const std::string & option = o.first;
		const bool output = option.compare(0, 7, "output-") == 0;
		if (option == "output-log" || !(output || option.compare(0, 6, "input-") == 0 || option.compare(0, 8, "exclude-") == 0 || option.compare(0, 8, "include-") == 0)) continue;
		std::vector < std::string > values;
		if (o.second.value().type() == typeid(std::string)) values.push_back(o.second.as < std::string > ());
		else if (o.second.value().type() == typeid(std::vector < std::string >)) values = o.second.as < std::vector < std::string > > ();
		auto stem = stem_suffixes.find(option);
		if (values.size() == 1 && stem != stem_suffixes.end()) {
			const std::string s = values[0];
			values.clear();
			for (const std::string & suffix : stem->second) values.push_back(s + suffix);
		}
		for (const std::string & v : values) (output ? outputs : inputs).push_back({ option, v });
	}
	std::map < std::string, std::string > written;
	for (const auto & out : outputs) {
		// Standard output and devices may well be named twice.
		if (out.second == "-" || futils::isSpecialFile(out.second)) continue;
		const std::string key = futils::canonicalName(out.second);
		for (const auto & in : inputs) if (futils::canonicalName(in.second) == key) {
			if (out.first == "output-log") LOG.forget();
			LOG.error("The output file [" + out.second + "] of --" + out.first + " is an input file of --" + in.first + ": writing it would replace the input");
		}
		auto seen = written.find(key);
		if (seen != written.end()) {
			if (seen->second == "output-log" || out.first == "output-log") LOG.forget();
			LOG.error("The output file [" + out.second + "] is written by both --" + seen->second + " and --" + out.first);
		}
		written[key] = out.first;
	}
}

void sorvane::check_options() {
	if (options.count("seed") && options["seed"].as < int > () < 0)
		LOG.error("Random number generator needs a positive seed value");
	if (options.count("thread")) {
		if (options["thread"].as < int > () < 1) LOG.error("You must use at least 1 thread");
		if (options["thread"].as < int > () >= 51) LOG.warning("High number of thread, check parameters");
	}
	// Compared in single precision: coordinates that round to one float are equal here.
	float ifrom = options["input-from"].as < double > ();
	float ito = options["input-to"].as < double > ();
	if (ifrom < 0 || ito <= 0 || ito <= ifrom)
		LOG.error("The input window coordinates are incorrect (must have --input-from >= 0 & --input-to > 0 & --input-from < input-to");
	float ofrom = options["output-from"].as < double > ();
	float oto = options["output-to"].as < double > ();
	if (ofrom < 0 || oto <= 0 || oto <= ofrom)
		LOG.error("The output window coordinates are incorrect (must have --output-from >= 0 & --output-to > 0 & --output-from < output-to");
	if (options.count("region")) filter_reader::checkRegion(options["region"].as < std::string > ());
	if (options.count("aligned")) flippable = 0;
}

void sorvane::check_files() {
	const std::string lists[6] = { "exclude-snp", "include-snp", "exclude-ind", "include-ind", "exclude-grp", "include-grp" };
	for (const std::string & opt : lists) {
		if (options.count(opt) && !futils::isFile(options[opt].as < std::string > ()))
			LOG.error("[" + options[opt].as < std::string > () + "] is impossible to open, check file existence or reading permissions");
	}
}

void sorvane::verbose_mode() {
	LOG.printlnL("Version : v2.r" + sutils::int2str(SORVANE_REVISION));
	LOG.printlnL("Date    : " + sutils::date2str(&START_DATE, "%d/%m/%Y %H:%M:%S"));
	LOG.printlnC("  * Date    : " + sutils::date2str(&START_DATE, "%d/%m/%Y %H:%M:%S"));
	LOG.printlnC("  * LOGfile : [" + LOG.name() + "]");
}

void sorvane::verbose_options() {
	LOG.println("\nParameters :");
	LOG.println("  * Seed : " + sutils::int2str(options["seed"].as < int > ()));
	if (!options["input-from"].defaulted() || !options["input-to"].defaulted())
		LOG.println("  * Input  window: [" + sutils::int2str((int)options["input-from"].as < double > ()) + " -> " + sutils::int2str((int)options["input-to"].as < double > ()) + "]");
	if (!options["output-from"].defaulted() || !options["output-to"].defaulted())
		LOG.println("  * Output window: [" + sutils::int2str((int)options["output-from"].as < double > ()) + " -> " + sutils::int2str((int)options["output-to"].as < double > ()) + "]");
	if (options.count("region")) LOG.println("  * Region: " + options["region"].as < std::string > ());
	LOG.println("  * Parallelisation: " + sutils::int2str(options["thread"].as < int > ()) + " threads");
	if (flippable) LOG.println("  * Ref allele is NOT aligned on the reference genome");
	else LOG.println("  * Ref allele is aligned on the reference genome");
}

void sorvane::read_files_and_initialise() {
	checkOutputNames();
	if (!LOG.start()) logFailure(LOG.name());
	filter_in.initialise((int)options["input-from"].as < double > (), (int)options["input-to"].as < double > ());
	if (options.count("region")) filter_in.setRegion(options["region"].as < std::string > ());
	if (options.count("exclude-snp")) filter_in.readSnpExcludeList(options["exclude-snp"].as < std::string > ());
	if (options.count("include-snp")) filter_in.readSnpIncludeList(options["include-snp"].as < std::string > ());
	if (options.count("exclude-ind")) filter_in.readIndExcludeList(options["exclude-ind"].as < std::string > ());
	if (options.count("include-ind")) filter_in.readIndIncludeList(options["include-ind"].as < std::string > ());
	if (options.count("exclude-grp")) filter_in.readGrpExcludeList(options["exclude-grp"].as < std::string > ());
	if (options.count("include-grp")) filter_in.readGrpIncludeList(options["include-grp"].as < std::string > ());
	filter_out.initialise(filter_in);
	if (!options["output-from"].defaulted()) filter_out.setL((int)options["output-from"].as < double > ());
	if (!options["output-to"].defaulted()) filter_out.setR((int)options["output-to"].as < double > ());
	putils::initRandom((long)options["seed"].as < int > ());
}

void sorvane::write_files_and_finalise() {
}

void sorvane::declareUnphasedInput(bpo::options_description & group) {
	group.add_options()
		("input-ped,P", bpo::value< std::vector < std::string > >()->multitoken(), "Unphased genotypes in PED/MAP format.")
		("missing-code", bpo::value< std::string >()->default_value("0"), "Missing data character in PED/MAP format.")
		("input-bed,B", bpo::value< std::vector < std::string > >()->multitoken(), "Unphased genotypes in BED/BIM/FAM format.")
		("noped", "No pedigree information taken into account.")
		("input-gen,G", bpo::value< std::vector < std::string > >()->multitoken(), "Unphased genotypes in GEN/SAMPLE format.")
		("input-thr", bpo::value< double >()->default_value(0.9, "0.9"), "Probability threshold used to call genotypes in GEN file.")
		("input-vcf,V", bpo::value< std::string >(), "Unphased genotypes in VCF format.")
		("input-map,M", bpo::value< std::string >(), "Genetic map in HapMap format.")
		("input-ref,R", bpo::value< std::vector < std::string > >()->multitoken(), "Reference set of haplotypes in HAPS/SAMPLE format.")
		("chrX,X", "Unphased genotypes are from chromosome X non autosomal region.");
}

// A threshold that is not a number fails the comparison and is refused.
void sorvane::checkUnphasedOptions() {
	if (!options["input-thr"].defaulted()) {
		double thr = options["input-thr"].as < double > ();
		if (!(thr > 0.5 && thr <= 1)) LOG.error("You must specify a --input-thr value comprised between 0.5 and 1");
	}
}

// Exactly one genotype input, and every file named readable.
void sorvane::checkUnphasedFiles() {
	int n = 0;
	for (const std::string & opt : input_options) if (options.count(opt)) n ++;
	if (n == 0) LOG.error("You must specify at least one unphased input file with --input-bed, --input-ped, --input-gen or --input-vcf");
	if (n > 1) LOG.error("You must specify no more than one unphased input file with --input-bed, --input-ped, --input-gen or --input-vcf");
	checkInputFileSet("input-bed", { ".bed", ".bim", ".fam" }, 3, "Incorrect number of arguments given to --input-bed (it must be 3 files)");
	checkInputFileSet("input-ped", { ".ped", ".map" }, 2, "Incorrect number of arguments given to --input-ped (it must be 2 files)");
	checkInputFileSet("input-gen", { ".gen", ".sample" }, 2, "Incorrect number of arguments given to --input-gen (it must be 2 files)");
	checkInputFile("input-vcf");
	checkInputFile("input-map");
	checkInputFileSet("input-ref", { }, 3, "Incorrect number of arguments given to --input-ref (it must be 3 files)");
}

// A set of `count` files given in full, or, when suffixes are given, as one stem to which
// the suffixes are added.
void sorvane::checkInputFileSet(std::string option, std::vector < std::string > suffixes, unsigned int count, std::string message) {
	if (!options.count(option)) return;
	std::vector < std::string > values = options[option].as < std::vector < std::string > > ();
	if (!(values.size() == 1 && !suffixes.empty()) && values.size() != count) LOG.error(message);
	for (const std::string & f : fileSet(option, suffixes))
		if (!futils::isFile(f)) LOG.error(f + " is impossible to open, check file existence or reading permissions");
}

void sorvane::checkInputFile(std::string option) {
	if (options.count(option) && !futils::isFile(options[option].as < std::string > ()))
		LOG.error(options[option].as < std::string > () + " is impossible to open, check file existence or reading permissions");
}

void sorvane::checkOutputFile(std::string option) {
	if (options.count(option) && !futils::createFile(options[option].as < std::string > ()))
		LOG.error(options[option].as < std::string > () + " is impossible to create, check writing permissions");
}

void sorvane::checkOutputFileSet(std::string option, std::vector < std::string > suffixes) {
	if (!options.count(option)) return;
	size_t n = options[option].as < std::vector < std::string > > ().size();
	if (n != 1 && n != suffixes.size()) LOG.error("Incorrect number of arguments given to --" + option);
	for (const std::string & f : fileSet(option, suffixes))
		if (!futils::createFile(f)) LOG.error(f + " is impossible to create, check writing permissions");
}

// The files of an option given as a stem (suffixes added) or in full; the option's
// count has already been checked.
std::vector < std::string > sorvane::fileSet(std::string option, std::vector < std::string > suffixes) {
	std::vector < std::string > values = options[option].as < std::vector < std::string > > ();
	if (values.size() != 1 || suffixes.empty()) return values;
	std::vector < std::string > files;
	for (const std::string & s : suffixes) files.push_back(values[0] + s);
	return files;
}

// Fills the store from the one unphased input given.
void sorvane::readGenotypes(genotype_reader & readerG) {
	if (options.count("input-bed")) {
		std::vector < std::string > f = fileSet("input-bed", { ".bed", ".bim", ".fam" });
		readerG.readGenotypeBed(f[0], f[1], f[2]);
	} else if (options.count("input-ped")) {
		std::vector < std::string > f = fileSet("input-ped", { ".ped", ".map" });
		readerG.readGenotypePed(f[0], f[1], options["missing-code"].as < std::string > ());
	} else if (options.count("input-gen")) {
		std::vector < std::string > f = fileSet("input-gen", { ".gen", ".sample" });
		readerG.readGenotypeImpute(f[0], f[1], options["input-thr"].as < double > (), false);
	} else {
		readerG.readGenotypeVcf(options["input-vcf"].as < std::string > ());
	}
}

// Places the sites on the genetic map: exactly where the map has their position, by
// interpolation elsewhere.
void sorvane::readGeneticMap(std::string file, snp_set * sites) {
	gmap_reader readerGM;
	readerGM.readGeneticMapFile(file, sites->size() ? sites->getByIndex(0)->chr : "");
	int n_covered = 0;
	for (int l = 0 ; l < sites->size() ; l ++) n_covered += sites->getByIndex(l)->bp >= readerGM.pos.front() && sites->getByIndex(l)->bp <= readerGM.pos.back();
	if (n_covered == 0 && sites->size()) LOG.error("Genetic map [" + file + "] covers positions " + sutils::int2str(readerGM.pos.front()) + " to " + sutils::int2str(readerGM.pos.back()) + ", and none of the sites: is it the map of this chromosome and assembly?");
	int n_set = sites->setCentiMorgan(readerGM.pos, readerGM.cm);
	int n_interpolated = sites->interpolateCentiMorgan(readerGM.pos, readerGM.cm);
	LOG.println("  * #set=" + sutils::int2str(n_set) + " / #interpolated=" + sutils::int2str(n_interpolated));
	if (sites->size() == 0) return;
	snp * first = sites->getByIndex(0);
	snp * last = sites->getByIndex(sites->size() - 1);
	LOG.print("  * Physical map [" + sutils::double2str(first->bp * 1e-6, 2) + " Mb -> " + sutils::double2str(last->bp * 1e-6, 2) + " Mb]");
	LOG.println(" / Genetic map [" + sutils::double2str(first->cm, 2) + " cM -> " + sutils::double2str(last->cm, 2) + " cM]");
}
