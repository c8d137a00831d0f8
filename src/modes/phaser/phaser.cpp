#include "modes/phaser/phaser.h"
#include "duohmm/pedigree.h"
#include "input/genotype_checker.h"
#include "input/genotype_reader.h"
#include "input/haplotype_reader.h"
#include "input/reference_reader.h"
#include "modules/builder.h"
#include "modules/sampler.h"
#include "utils/assertion.h"
#include "utils/futils.h"
#include "utils/ifile.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <algorithm>
#include <map>

phaser::phaser() : phaser("Phaser") {
}

phaser::phaser(const std::string & name) : sorvane(name), stage_burnin(false), ibd_relatives(true), model_version1(false), p_random(0.0), n_sampled(0), n_stored(0), n_thread(1), n_batch(1), predefined_states(false), pbwt_selection(false), window_mb(0.0), drawn_known(false), stage_mark(std::chrono::steady_clock::now()), n_iterations(0), n_iterations_done(0), iteration_seconds(0.0) {
}

phaser::~phaser() {
	desallocateMemory();
}

void phaser::work() {
	if (settings.no_mcmc) phaseNoMcmc();
	else phaseMcmc();
}

void phaser::declare_options() {
	sorvane::declare_options();

	bpo::options_description opt_mcmc ("\033[33mMCMC options\033[0m", 80, 40);
	opt_mcmc.add_options()
		("burn", bpo::value< int >()->default_value(3), "Number of burn-in MCMC iterations.")
		("prune", bpo::value< int >()->default_value(4), "Number of pruning MCMC iterations.")
		("main", bpo::value< int >()->default_value(16), "Number of main MCMC iterations.")
		("run", bpo::value< int >()->default_value(1), "Number of pruning stages (3 with the pbwt selection, unless given).")
		("no-mcmc", "No MCMC iteration (just phase given the reference panel haplotypes).");

	bpo::options_description opt_input ("\033[33mInput files options\033[0m", 80, 40);
	declareUnphasedInput(opt_input);
	opt_input.add_options()
		("duohmm", "Phase pedigrees using the duoHMM algorithm.")
		("input-init", bpo::value< std::vector < std::string > >()->multitoken(), "Phased haplotypes in HAPS/SAMPLE format used for initialisation.")
		("input-sex", bpo::value< std::string >(), "Sex of the samples.")
		("missing-maf", "MAF based initialisation of missing genotypes prior to phasing")
		("force", "proceed with phasing regardless of QC warnings.");

	bpo::options_description opt_model ("\033[33mModel options\033[0m", 80, 40);
	opt_model.add_options()
		("states,S", bpo::value< int >()->default_value(100), "Number of hidden states used for phasing (selected using Hamming distance minimisation).")
		("states-random", bpo::value< int >()->default_value(0), "Number of hidden states used for phasing (selected at random).")
		("states-pmatch", bpo::value< int >()->default_value(0), "Number of hidden states used for phasing (selected using perfect match maximisation).")
		("states-cov", bpo::value< int >()->default_value(0), "Number of hidden states used for phasing (selected using perfect match that maximise coverage of the region).")
		("window,W", bpo::value< double >()->default_value(2, "2"), "Mean size of the windows in which conditioning haplotypes are defined (0.5 with the pbwt selection, unless given).")
		("selection", bpo::value< std::string >()->default_value("auto"), "How the --states conditioning haplotypes are selected: hamming (smallest Hamming distance over each window), pbwt (longest local matches, positional Burrows-Wheeler transform) or auto (pbwt with a reference panel or from 1000 haplotypes to copy from, hamming otherwise).")
		("model-version1", "Use the graphical model to represent the conditioning haplotypes (as in SORVANE v1).")
		("effective-size", bpo::value< int >()->default_value(15000), "Effective size of the population.")
		("rho", bpo::value< double >()->default_value(0.0004, "0.0004"), "Constant recombination rate.")
		("input-copy-states", bpo::value< std::string >(), "To specify who to copy from")
		("no-rare-phasing", "Leave singletons and doubletons as sampled instead of placing them from the matches around them.");

	bpo::options_description opt_output ("\033[33mOutput file options\033[0m", 80, 40);
	opt_output.add_options()
		("output-max,O", bpo::value< std::vector < std::string > >()->multitoken(), "Phased haplotypes in HAPS/SAMPLE format.")
		("output-vcf", bpo::value< std::string >(), "Phased haplotypes in VCF format: .vcf, .vcf.gz (BGZF with a tabix index) or .bcf (with a CSI index).")
		("output-graph", bpo::value< std::string >(), "Phased haplotype graphs in binary format (v2.2).")
		("output-duohmm-errors", bpo::value< std::string >(), "Probable genotyping errors found by --duohmm in families (needs --duohmm and --output-max or --output-vcf).")
		("output-duohmm-recombination", bpo::value< std::string >(), "Crossover probabilities along each parent-child meiosis found by --duohmm (needs --duohmm and --output-max or --output-vcf).");

	descriptions.add(opt_mcmc).add(opt_input).add(opt_model).add(opt_output);
}

void phaser::check_options() {
	sorvane::check_options();
	if (options.count("model-version1")) model_version1 = true;
	if (options.count("input-copy-states")) predefined_states = true;
	if (options.count("noped") && options.count("duohmm"))
		LOG.error("The --noped and --duohmm options are incompatible with one another.");
	if (options.count("chrX") && options.count("duohmm"))
		LOG.error("The --chrX and --duohmm options are incompatible with one another.");
	// The reports describe the refined haplotypes, which only a haplotype output makes.
	for (std::string option : { "output-duohmm-errors", "output-duohmm-recombination" })
		if (options.count(option) && !(options.count("duohmm") && (options.count("output-max") || options.count("output-vcf"))))
			LOG.error("The --" + option + " option needs --duohmm and --output-max or --output-vcf");
	if (options["burn"].as < int > () < 0) LOG.error("You must use at least 0 burn-in iteration");
	if (options["prune"].as < int > () < 1) LOG.error("You must use at least 1 pruning iteration");
	if (options["main"].as < int > () < 1) LOG.error("You must use at least 1 main iteration");
	if (options["run"].as < int > () < 1) LOG.error("You must use at least 1 run of pruning iterations");
	// Upper bounds keep the iteration total, burn + prune * run + main, within an int.
	checkRange("burn", 0, 100000);
	checkRange("prune", 1, 100000);
	checkRange("main", 1, 100000);
	checkRange("run", 1, 1000);
	if (model_version1 && options["states"].as < int > () < 10) LOG.error("You must use at least 10 conditioning states for phasing");
	// The four counts are summed and size the selection heaps.
	for (std::string option : { "states", "states-pmatch", "states-random", "states-cov" }) checkRange(option, 0, 1000000);
	if (!model_version1 && !options["states"].defaulted()) {
		int total = options["states"].as < int > () + options["states-pmatch"].as < int > () + options["states-random"].as < int > () + options["states-cov"].as < int > ();
		if (total < 5) LOG.error("You must use at least 5 conditioning haplotypes for phasing");
	}
	const std::string selection = options["selection"].as < std::string > ();
	if (selection != "auto" && selection != "hamming" && selection != "pbwt") LOG.error("You must specify --selection auto, hamming or pbwt");
	pbwt_selection = (selection == "pbwt");
	if (pbwt_selection && (model_version1 || predefined_states)) LOG.error("The --selection pbwt option applies to the window model only, not to --model-version1 or --input-copy-states");
	// The window becomes a count of base pairs in an int; a NaN passes no comparison.
	double window = window_mb = options["window"].as < double > ();
	if (window < 0.1) LOG.error("You must specify a window size of at least 0.1 Mb");
	if (!(window <= 1000)) LOG.error("You must specify a --window value comprised between 0.1 and 1000 (Mb)");
	if (!options["effective-size"].defaulted() && options["effective-size"].as < int > () < 1)
		LOG.error("You must specify a positive effective size");
	checkRange("effective-size", 1, 100000000);
	if (!options["rho"].defaulted()) {
		double rho = options["rho"].as < double > ();
		if (!(rho > 0 && rho < 1)) LOG.error("You must specify a rho value comprised between 0 and 1");
	}
	checkUnphasedOptions();
	if (options.count("no-mcmc") && !options.count("input-ref"))
		LOG.error("To get rid of the MCMC scheme, you must specify a reference panel of haplotypes via --input-ref");
}

void phaser::settle() {
	settings.burn = options["burn"].as < int > ();
	settings.prune = options["prune"].as < int > ();
	settings.main = options["main"].as < int > ();
	settings.runs = options["run"].as < int > ();
	settings.states = options["states"].as < int > ();
	settings.states_pmatch = options["states-pmatch"].as < int > ();
	settings.states_random = options["states-random"].as < int > ();
	settings.states_cov = options["states-cov"].as < int > ();
	settings.threads = options["thread"].as < int > ();
	settings.no_mcmc = options.count("no-mcmc") > 0;
}

// Stops before the MCMC rather than at the refinement, which needs both parents' columns.
void phaser::checkPedigreeColumns() {
	int father, mother, sex;
	pedigree::findColumns(sample_header1, father, mother, sex);
	if (father < 0 || mother < 0)
		LOG.error("The --duohmm option needs the father and the mother of each sample, and the sample data of this input have no father or mother column (a VCF file carries none)");
}

void phaser::checkRange(const std::string & option, int low, int high) {
	int value = options[option].as < int > ();
	if (value < low || value > high)
		LOG.error("You must specify a --" + option + " value comprised between " + sutils::int2str(low) + " and " + sutils::int2str(high));
}

void phaser::check_files() {
	sorvane::check_files();
	checkUnphasedFiles();
	if (!options.count("output-max") && !options.count("output-graph") && !options.count("output-vcf"))
		LOG.error("You must specify at least one output file with --output-max, --output-vcf and/or --output-graph");
	checkInputFile("input-sex");
	checkInputFileSet("input-init", { ".haps", ".sample" }, 2, "Incorrect number of arguments given to --input-init (it must be 2 files)");
	checkOutputFileSet("output-max", { ".haps", ".sample" });
	checkOutputFile("output-vcf");
	checkInputFile("input-copy-states");
	checkOutputFile("output-graph");
	checkOutputFile("output-duohmm-errors");
	checkOutputFile("output-duohmm-recombination");
}

void phaser::verbose_mode() {
	sorvane::verbose_mode();
	LOG.printlnL("\nMODE -phase : PHASING GENOTYPE DATA");
	LOG.printlnC("\nMODE \033[33m-phase\033[0m : PHASING GENOTYPE DATA");
	if (options.count("chrX")) LOG.println("  * Allosome (chrX)");
	else LOG.println("  * Autosome (chr1 ... chr22)");
	if (model_version1) LOG.println("  * Graph-based model (SORVANE v1)");
	else if (predefined_states) LOG.println("  * Window-based model with user specification of the copying states (SORVANE v2)");
	else LOG.println("  * Window-based model (SORVANE v2)");
	if (options.count("input-ref")) LOG.println("  * Reference panel of haplotypes used");
	if (options.count("no-mcmc")) LOG.println("  * No MCMC iteration");
	else LOG.println("  * MCMC iteration");
	if (options.count("duohmm")) LOG.println("  * duoHMM is used to refine family haplotypes");
}

void phaser::verboseSettings() {
	if (options.count("chrX")) LOG.println("  * Allosome (chrX)");
	else LOG.println("  * Autosome (chr1 ... chr22)");
	if (model_version1) LOG.println("  * Graph-based model (SORVANE v1)");
	else LOG.println("  * Window-based model (SORVANE v2)");
	if (options.count("input-ref")) LOG.println("  * Reference panel of haplotypes used");
	else LOG.println("  * No reference panel used");
	if (options.count("no-mcmc")) LOG.println("  * No Gibbs sampling");
	else LOG.println("  * Gibbs sampling");
}

std::string phaser::scheduleText() {
	const phasing_settings & s = settings;
	const int run = pruningRuns();
	return sutils::int2str(s.burn + s.prune * run + s.main) + " iterations [" + sutils::int2str(s.burn) + " B + " + sutils::int2str(run) + " runs of " + sutils::int2str(s.prune) + " P + " + sutils::int2str(s.main) + " M]";
}

void phaser::verbose_options() {
	sorvane::verbose_options();
	const phasing_settings & s = settings;
	if (s.no_mcmc) LOG.println("  * No MCMC");
	else LOG.println("  * MCMC: " + scheduleText());
	LOG.print("  * Model: ");
	if (model_version1) LOG.print(sutils::int2str(s.states) + " states per segment ");
	else {
		const int H = s.states, PM = s.states_pmatch, R = s.states_random, COV = s.states_cov;
		LOG.print(sutils::int2str(H + PM + R + COV) + " states per window [" + sutils::int2str(H) + " H + " + sutils::int2str(PM) + " PM + " + sutils::int2str(R) + " R + " + sutils::int2str(COV) + " COV ] / Windows of ~" + sutils::double2str(options["window"].as < double > (), 1) + " Mb ");
	}
	if (options.count("input-map")) LOG.println("/ Ne = " + sutils::int2str(options["effective-size"].as < int > ()));
	else LOG.println("/ rho = " + sutils::double2str(options["rho"].as < double > (), 5));
	if (options.count("noped")) LOG.println("  * Pedigree information not taken into account");
	if (options.count("missing-maf")) LOG.println("  * Missing genotypes initialised according to MAF");
	if (options.count("no-rare-phasing")) LOG.println("  * Rare variants left as sampled");
	else LOG.println("  * Rare variants placed from the matches around them");
	if (!model_version1 && !predefined_states) LOG.println("  * Conditioning state selection: " + options["selection"].as < std::string > ());
}

void phaser::read_files_and_initialise() {
	sorvane::read_files_and_initialise();

	genotype_reader readerG(filter_in, options.count("chrX") > 0);
	readGenotypes(readerG);
	readSamples(readerG);
	if (options.count("duohmm")) checkPedigreeColumns();

	reference_reader readerR(filter_in, readerG.sites.get());
	readPanelAndMap(readerR, readerG.sites.get());

	genotype_checker checkerG(readerG, readerR, options.count("chrX") > 0, options.count("force") > 0);
	if (options.count("noped")) checkerG.resetPedigrees();
	if (options.count("duohmm")) {
		checkerG.wipeMendelErrors();
		checkerG.resetPedigrees();
	}
	checkerG.checkGenotypeData();
	std::vector < std::map < std::string, int > > units;
	checkerG.order(units);

	buildGraphs(readerG, readerR, units);
	initialiseHaplotypes();
	initialiseModel();
	if (options.count("input-copy-states")) readCopyingStates(options["input-copy-states"].as < std::string > ());
}

// Sex, the sample count, and the SAMPLE header lines that the output needs once the store is gone.
void phaser::readSamples(genotype_reader & readerG) {
	if (options.count("input-sex")) readerG.readSex(options["input-sex"].as < std::string > ());
	if (!options.count("input-ref") && readerG.ind_id.size() <= 9)
		LOG.error("You cannot phase less than 10 samples wihout using a reference panel!");
	sample_header1 = readerG.sample_header1;
	sample_header2 = readerG.sample_header2;
}

void phaser::readPanelAndMap(reference_reader & readerR, snp_set * study_sites) {
	if (options.count("input-ref")) {
		std::vector < std::string > f = options["input-ref"].as < std::vector < std::string > > ();
		readerR.readReferenceImpute(f[0], f[1], f[2]);
	}
	if (options.count("input-map")) readGeneticMap(options["input-map"].as < std::string > (), study_sites);
}

// One graph per unit, then GH takes the graphs, the sites and the panel.
void phaser::buildGraphs(genotype_reader & readerG, reference_reader & readerR, std::vector < std::map < std::string, int > > & units) {
	endStage("reading");
	// Threads beyond the number of sampling units would have nothing to do.
	n_thread = std::max(1, std::min(settings.threads, (int)units.size()));
	workers.reset(new work_queue(n_thread));
	builder B(readerG, units, *workers);
	B.build();
	sites = std::move(readerG.sites);
	GH.initialise(B.vecG, sites.get());
	if (options.count("input-ref")) GH.initialise(readerR, options.count("chrX") > 0);
	limitThreads();
	allocateMemory();
	GH.summarise();
}

// A first haplotype pair for every graph, drawn uniformly among its paths, unless given.
void phaser::initialiseHaplotypes() {
	sampler(GH, true, *workers, true).sample();
	if (options.count("missing-maf")) GH.initialise();
	else if (options.count("input-init")) {
		std::vector < std::string > f = fileSet("input-init", { ".haps", ".sample" });
		haplotype_reader readerH(filter_in);
		readerH.readHaplotypeImpute(f[0], f[1]);
		GH.initialise(readerH);
	}
}

void phaser::initialiseModel() {
	int H = GH.n_reference + (settings.no_mcmc ? 0 : GH.n_founder);
	// A study alone, below the size where the transform selects, copies from more haplotypes
	// by default: measured from 150 to 500 samples, 200 states cut the switch error by 10 to
	// 40 % for 1.7 times the time; a larger --states gains nothing more.
	if (options["states"].defaulted() && !model_version1 && !predefined_states && GH.n_reference == 0 && H < pbwt_auto_haplotypes && H > settings.states) {
		settings.states = std::min(H, small_study_states);
		LOG.println("  * " + sutils::int2str(settings.states) + " conditioning states, the default of a study alone of fewer than " + sutils::int2str(pbwt_auto_haplotypes) + " haplotypes");
	}
	int K = settings.states;
	if (!model_version1) K += settings.states_pmatch + settings.states_random + settings.states_cov;
	if (options.count("input-map")) hmm.initialise(*GH.sites, options["effective-size"].as < int > ());
	else hmm.initialise(*GH.sites, options["rho"].as < double > ());
	// In a small study alone the Hamming selection takes a large share of all haplotypes and
	// does better; among many, and in a panel, the longest local matches find the best copies.
	if (!model_version1 && !predefined_states && options["selection"].as < std::string > () == "auto") pbwt_selection = GH.n_reference > 0 || H >= pbwt_auto_haplotypes;
	// The transform's few states match the target less closely than all H haplotypes would:
	// their mismatch rate is that of K haplotypes (about 1e-3 at 100 states, against 5e-6 of
	// 10,000), which cut the switch error by 5 to 50 % on cohorts of 1,000 to 10,000 samples
	// (bench/README.md, "Mismatch rate of the transform's states").
	hmm.update(H, std::min(K, H), pbwt_selection ? std::min(K, H) : H);
	if (model_version1 || predefined_states) return;
	if (pbwt_selection && options["window"].defaulted()) window_mb = pbwt_window;
	if (pbwt_selection && options["run"].defaulted() && !settings.no_mcmc) {
		settings.runs = pbwt_runs;
		if (pruningRuns() == pbwt_runs) LOG.println("  * MCMC: " + scheduleText() + ", the default of the PBWT selection");
	}
	if (pbwt_selection) LOG.println("  * Conditioning haplotypes: longest local matches (PBWT) among " + sutils::int2str(H) + " / Windows of ~" + sutils::double2str(window_mb, 1) + " Mb");
	else LOG.println("  * Conditioning haplotypes: smallest Hamming distance among " + sutils::int2str(H));
}

const std::vector < bool > & phaser::conditioningMask() {
	return settings.no_mcmc ? GH.reference_mask : GH.founder_mask;
}

// A batch of the iterations masks the haplotypes of all its samples for each of them, and
// each sample loses its family too: with too large batches some sample could keep fewer
// than min_conditioning haplotypes to copy from. The bound on the batch bounds the threads,
// which need a sample each. User copying states are not masked: they may name a sample of
// the same batch, whose haplotypes are being redrawn, so with them the samples are phased
// one at a time.
void phaser::limitThreads() {
	int requested = settings.threads;
	std::string why = "no more samples can be phased at once while each keeps at least " + sutils::int2str(min_conditioning) + " haplotypes to copy from";
	int bound = 1;
	if (predefined_states) {
		n_thread = 1;
		why = "the copying states given may name samples phased at the same time";
	} else {
		int limiting;
		bound = GH.maxBatchSize(conditioningMask(), min_conditioning, limiting);
		if (bound == 0 && limiting >= 0) LOG.error("Sample " + GH.vecG[limiting]->name + " has fewer than " + sutils::int2str(min_conditioning) + " haplotypes to copy from outside its own family: add unrelated samples or a reference panel with --input-ref");
		n_thread = std::max(1, std::min(n_thread, bound));
	}
	if (n_thread < requested) LOG.println("  * Threads lowered from " + sutils::int2str(requested) + " to " + sutils::int2str(n_thread) + ": " + why);
	n_batch = n_thread < 2 ? 1 : std::max(n_thread, std::min({ batch_per_thread * n_thread, bound, (int)GH.vecG.size() / batch_share }));
	if (n_thread < workers->size()) workers.reset(new work_queue(n_thread));
}

// One line a window: the sample to phase, the position (bp) where the window starts, then
// the samples whose haplotypes it copies from. A window ends where the next line of its
// sample starts, the last one at the last site; the first one also covers the sites before
// its position. Positions become the index of the first site at or after them.
void phaser::readCopyingStates(std::string file) {
	LOG.println("\nReading copying states in [" + file + "]");
	std::map < std::string, int > name2ind, parent2unit;
	for (unsigned int i = 0 ; i < GH.vecG.size() ; i ++) {
		const genotype_graph * g = GH.vecG[i];
		name2ind[g->name] = i;
		if (g->type > 2) for (const std::string * p : { &g->fname, &g->mname }) if (*p != "0") parent2unit[*p] = i;
	}
	// A parent phased in the unit of its child has no windows of its own: the unit goes by
	// the child's name.
	auto unit = [&](const std::string & where, const std::string & sample) {
		std::map < std::string, int >::iterator it = name2ind.find(sample);
		if (it != name2ind.end()) return it->second;
		it = parent2unit.find(sample);
		if (it != parent2unit.end()) LOG.error(where + "sample " + sample + " is phased with its family, under the name of its child " + GH.vecG[it->second]->name + ": give that name instead");
		LOG.error(where + "sample " + sample + " is not in the data");
	};
	copy_states = std::vector < std::vector < std::vector < int > > > (GH.vecG.size());
	copy_bounds = std::vector < std::vector < int > > (GH.vecG.size());
	std::vector < long > previous (GH.vecG.size(), -1);
	const std::vector < snp * > & S = GH.sites->vecS;
	ifile fd(file);
	std::string buffer;
	std::vector < std::string > tokens;
	int n_lines = 0, n_windows = 0;
	while (getline(fd, buffer)) {
		const std::string where = "Line " + sutils::int2str(++ n_lines) + " of " + file + ": ";
		if (sutils::tokenize(buffer, tokens) == 0) continue;
		if (tokens.size() < 3) LOG.error(where + "a window needs the sample, the position where it starts and at least one sample to copy from");
		int ind = unit(where, tokens[0]);
		long position = sutils::str2bp(tokens[1], file, n_lines);
		if (position < 0) LOG.error(where + "the position " + tokens[1] + " is not a base-pair position");
		if (position <= previous[ind]) LOG.error(where + "the windows of sample " + tokens[0] + " must come in increasing position order");
		previous[ind] = position;
		int site = std::lower_bound(S.begin(), S.end(), position, [](const snp * s, long p) { return s->bp < p; }) - S.begin();
		if (site == (int)S.size()) LOG.error(where + "the position " + tokens[1] + " is after the last site");
		copy_bounds[ind].push_back(copy_bounds[ind].empty() ? 0 : site);
		copy_states[ind].push_back(std::vector < int > ());
		for (unsigned int t = 2 ; t < tokens.size() ; t ++) {
			int from = unit(where, tokens[t]);
			if (from == ind) LOG.error(where + "sample " + tokens[0] + " cannot copy from itself");
			for (int h : GH.ind2hap[from]) copy_states[ind].back().push_back(h);
		}
		if ((int)copy_states[ind].back().size() < min_conditioning) LOG.error(where + "sample " + tokens[0] + " needs at least " + sutils::int2str(min_conditioning) + " haplotypes to copy from");
		n_windows ++;
	}
	fd.close();
	for (unsigned int i = 0 ; i < GH.vecG.size() ; i ++) {
		if (copy_bounds[i].empty() && !GH.vecG[i]->phased()) LOG.error("No copying states given for sample " + GH.vecG[i]->name + " in " + file);
		copy_bounds[i].push_back(S.size() - 1);
	}
	LOG.println("  * #windows=" + sutils::int2str(n_windows));
}
