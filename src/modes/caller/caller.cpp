#include "modes/caller/caller.h"
#include "input/genotype_checker.h"
#include "input/genotype_reader.h"
#include "input/reference_reader.h"
#include "modules/likelihood_maker.h"
#include "utils/futils.h"
#include "utils/lfile.h"

#include <map>

// The open genotypes of the conditioning samples are draws from their own likelihoods: at
// low depth most genotypes are open, and leaving them out would leave little to copy from.
caller::caller() : phaser("Caller") {
	drawn_known = true;
}

caller::~caller() {
}

// The phasing parameters are not listed.
void caller::verbose_options() {
}

void caller::declare_options() {
	phaser::declare_options();
	bpo::options_description opt_call ("\033[33mGenotype Calling options\033[0m", 80, 40);
	opt_call.add_options()
		("input-scaffold", bpo::value< std::vector < std::string > >()->multitoken(), "Scaffold of phased haplotypes in HAPS/SAMPLE format");
	descriptions.add(opt_call);
}

void caller::check_options() {
	phaser::check_options();
	// User copying states are not used here: the iterations always pick their own.
	predefined_states = false;
	if (options.count("input-ped") || options.count("input-bed") || options.count("input-vcf"))
		LOG.error("Genotype likelihoods have to be specified via --input-gen (use glforge program!)");
	// The refinement needs every sample phased alone; this mode keeps duos and trios together.
	if (options.count("duohmm"))
		LOG.error("The --duohmm option is not available with -call: this mode phases duos and trios together, and the pedigree refinement needs every sample phased alone");
}

void caller::check_files() {
	phaser::check_files();
	if (!options.count("input-scaffold")) return;
	std::vector < std::string > files = options["input-scaffold"].as < std::vector < std::string > > ();
	if (files.size() % 2) LOG.error("Incorrect number of arguments given to --input-phased-scaffold (it must be a multiple of 2)");
	for (const std::string & f : files)
		if (!futils::isFile(f)) LOG.error(f + " is impossible to open, check file existence or reading permissions");
}

void caller::verbose_mode() {
	sorvane::verbose_mode();
	LOG.printlnL("\nMODE -call : GENOTYPE CALLING");
	LOG.printlnC("\nMODE \033[33m-call\033[0m : GENOTYPE CALLING");
	verboseSettings();
	if (options.count("input-scaffold")) LOG.println("  * Scaffold of haplotypes used");
	else LOG.println("  * No scaffold of haplotypes used");
}

// The set-up of phasing, but for the genotypes: the GEN file is read with its likelihoods,
// the checks suit likelihoods (Mendel errors are kept, fully missing data pass), and
// scaffolds overlay known haplotypes before the graphs are built.
void caller::read_files_and_initialise() {
	sorvane::read_files_and_initialise();

	genotype_reader readerG(filter_in, options.count("chrX") > 0);
	std::vector < std::string > gen = fileSet("input-gen", { ".gen", ".sample" });
	readerG.readGenotypeImpute(gen[0], gen[1], options["input-thr"].as < double > (), true);
	readSamples(readerG);

	reference_reader readerR(filter_in, readerG.sites.get());
	readPanelAndMap(readerR, readerG.sites.get());

	genotype_checker checkerG(readerG, readerR, options.count("chrX") > 0, options.count("force") > 0);
	if (options.count("noped")) checkerG.resetPedigrees();
	checkerG.checkLikelihoodData();
	std::vector < std::map < std::string, int > > units;
	checkerG.order(units);
	likes = std::move(readerG.likelihoods);

	if (options.count("input-scaffold")) {
		std::vector < std::string > files = options["input-scaffold"].as < std::vector < std::string > > ();
		for (unsigned int f = 0 ; f < files.size() ; f += 2) readerG.readScaffoldImpute(files[f], files[f + 1]);
		// Members of duos and trios are phased in their family's graph, whose tracks follow
		// transmission: their output is turned back to the order the scaffold gives.
		for (unsigned int i = 0 ; i < readerG.ind_id.size() ; i ++)
			if (!readerG.scaffold[i].empty()) known_phases[readerG.ind_id[i]] = known_phase { readerG.scaffold[i], readerG.hap0[i], readerG.hap1[i] };
	}

	buildGraphs(readerG, readerR, units);
	initialiseHaplotypes();
	initialiseModel();
}

// Always the window model on the iterations' own conditioning states, whatever the model
// options say.
void caller::phaseIteration(std::string name) {
	phaseSegment(name);
}

void caller::weighGraphs() {
	likelihood_maker(GH, likes, *workers).make();
}
