#include "modes/converter/converter.h"
#include "input/graph_reader.h"
#include "input/haplotype_reader.h"
#include "input/pair_reader.h"
#include "modules/rare_phaser.h"
#include "modules/sampler.h"
#include "modules/solver.h"
#include "output/haplotype_writer.h"
#include "utils/futils.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

converter::converter() : sorvane("Converter") {
}

converter::~converter() {
}

void converter::declare_options() {
	sorvane::declare_options();

	bpo::options_description opt_input ("\033[33mInput files options\033[0m", 80, 40);
	opt_input.add_options()
		("input-graph", bpo::value< std::vector < std::string > >()->multitoken(), "Input haplotype graphs in HAPS/SAMPLE format")
		("input-haps", bpo::value< std::vector < std::string > >()->multitoken(), "Input phased haplotypes in HAPS/SAMPLE format")
		("input-sets", bpo::value< std::string >(), "Sets of sites for which haplotype pairs have to be extracted")
		("replicate", bpo::value< int >()->default_value(1000), "Number of haplotype samples generated per individual");

	bpo::options_description opt_output ("\033[33mOutput files options\033[0m", 80, 40);
	opt_output.add_options()
		("output-sample", bpo::value< std::vector < std::string > >()->multitoken(), "Output phased haplotypes obtained through sampling in HAPS/SAMPLE format")
		("output-max", bpo::value< std::vector < std::string > >()->multitoken(), "Output phased haplotypes obtained through maximisation in HAPS/SAMPLE format")
		("output-haps", bpo::value< std::vector < std::string > >()->multitoken(), "Output phased haplotypes in HAPS/SAMPLE format")
		("output-vcf", bpo::value< std::string >(), "Output phased haplotypes in VCF format")
		("output-ref", bpo::value< std::vector < std::string > >()->multitoken(), "Output phased haplotypes in Reference format used for imputation")
		("no-rare-phasing", "Leave singletons as maximised or sampled instead of placing them from the haplotypes around them.");

	descriptions.add(opt_input).add(opt_output);
}

void converter::check_options() {
	sorvane::check_options();
	if (options["replicate"].as < int > () < 0) LOG.error("You must specify a --replicate value of at least 0");
}

bool converter::fromGraphs() {
	return options.count("input-graph") > 0;
}

work_queue & converter::workers() {
	if (!pool) pool.reset(new work_queue(options["thread"].as < int > ()));
	return *pool;
}

// Only the files of the outputs that the input allows are tried: the others are ignored
// with a warning and never created.
void converter::check_files() {
	sorvane::check_files();
	if (options.count("input-graph") + options.count("input-haps") != 1)
		LOG.error("You must specify exactly one input file with --input-graph or --input-haps");
	if (fromGraphs()) {
		if (!options.count("output-max") && !options.count("output-vcf") && !options.count("output-sample") && !options.count("input-sets"))
			LOG.error("You must specify at least one output file with --output-max, --output-vcf, --output-sample or --input-sets");
		if (options.count("output-haps") || options.count("output-ref"))
			LOG.warning("Options --output-haps and --output-ref cannot be used when specifying --input-graph");
		size_t n = options["input-graph"].as < std::vector < std::string > > ().size();
		if (n != 1 && n != 3) LOG.error("Incorrect number of arguments given to --input-graph");
		checkInputFileSet("input-graph", { }, n, "");
		checkInputFile("input-sets");
		checkOutputFileSet("output-max", { ".haps", ".sample" });
		checkOutputFileSet("output-sample", { ".haps", ".sample" });
		checkOutputFile("output-vcf");
	} else {
		if (!options.count("output-haps") && !options.count("output-ref") && !options.count("output-vcf"))
			LOG.error("You must specify at least one output file with --output-haps or --output-ref or --output-vcf");
		if (options.count("output-max") || options.count("output-sample"))
			LOG.warning("Options --output-max and --output-sample are unused when specifying --input-haps");
		checkInputFileSet("input-haps", { ".haps", ".sample" }, 2, "Incorrect number of arguments given to --input-haps(it must be 2 files)");
		checkOutputFileSet("output-haps", { ".haps", ".sample" });
		checkOutputFile("output-vcf");
		checkOutputFileSet("output-ref", { ".haplotypes", ".legend", ".samples" });
	}
}

void converter::verbose_mode() {
	sorvane::verbose_mode();
	const std::string what = fromGraphs() ? "EXTRACTING HAPLOTYPES FROM GRAPH FILES" : "CONVERTING/SUBSETTING SORVANE HAPLOTYPES";
	LOG.printlnL("\nMODE -convert : " + what);
	LOG.printlnC("\nMODE \033[33m-convert\033[0m : " + what);
}

void converter::read_files_and_initialise() {
	sorvane::read_files_and_initialise();
	if (fromGraphs()) {
		readGraphs();
		if (options.count("input-sets")) readSets();
	} else readHaplotypes();
}

void converter::readGraphs() {
	std::vector < std::string > f = options["input-graph"].as < std::vector < std::string > > ();
	graph_reader readerG;
	if (f.size() == 1) readerG.readBinaryGraph(f[0]);
	else readerG.readBinaryGraph20(f[0], f[1], f[2]);
	sample_header1 = readerG.header1;
	sample_header2 = readerG.header2;
	sites = std::move(readerG.S);
	GH.initialise(readerG.vecG, sites.get());
	GH.summarise();
}

// Each sample becomes an unrelated record without segments, numbered by its place in the
// file, so that the writers give the samples back in their input order.
void converter::readHaplotypes() {
	std::vector < std::string > f = fileSet("input-haps", { ".haps", ".sample" });
	haplotype_reader readerH(filter_in);
	readerH.readHaplotypeImpute(f[0], f[1]);
	sample_header1 = readerH.sample_header1;
	sample_header2 = readerH.sample_header2;
	std::vector < genotype_graph * > graphs;
	for (unsigned int i = 0 ; i < readerH.ind_id.size() ; i ++) {
		graphs.push_back(new genotype_graph(2, i));
		graphs.back()->pushChild(readerH.ind_id[i], i, readerH.ind_fields[i]);
	}
	GH.initialise(graphs, readerH.sites.get());
	GH.initialise(readerH);
	sites = std::move(readerH.sites);
	GH.summarise();
}

void converter::readSets() {
	pair_reader readerP;
	readerP.readPairs(options["input-sets"].as < std::string > (), sites.get());
	readerP.checkAndOrder();
	// The tables of every window are tried before the sampling, which may take long.
	for (unsigned int w = 0 ; w < readerP.id.size() ; w ++) {
		for (const std::string suffix : { ".pairs.gz", ".freqs.gz" })
			if (!futils::createFile(readerP.id[w] + suffix)) LOG.error("The table " + readerP.id[w] + suffix + " of window " + readerP.id[w] + " is impossible to create, check writing permissions");
		pairs.push_back(haplotype_pairs(readerP.id[w], readerP.sites[w], GH.vecG.size()));
	}
}

void converter::write_files_and_finalise() {
	sorvane::write_files_and_finalise();
	if (fromGraphs()) {
		writeGraphOutputs();
		if (options.count("input-sets")) samplePairs();
	} else writeHaplotypeOutputs();
}

void converter::writeHaps(const std::string & option) {
	std::vector < std::string > f = fileSet(option, { ".haps", ".sample" });
	haplotype_writer writerH(filter_out, GH, sample_header1, sample_header2, false);
	writerH.writeHaplotypeHap(f[0], f[1]);
}

// The graphs do not tell how their states were selected: by the phasing mode's default, the
// transform's from 1000 haplotypes on.
void converter::writeVcf(bool confidence) {
	haplotype_writer writerH(filter_out, GH, sample_header1, sample_header2, false);
	const bool transform = (int)GH.vecH.size() >= genhap_set::pbwt_auto_haplotypes;
	writerH.writeHaplotypeVcf(options["output-vcf"].as < std::string > (), confidence, confidence && !options.count("no-rare-phasing"), transform, workers());
}

// Singletons are placed after maximisation or sampling, as in the phasing mode. The VCF holds
// the most likely haplotypes, with the phase confidence that the graphs give them.
void converter::writeGraphOutputs() {
	if (options.count("output-max") || options.count("output-vcf")) {
		solver(GH, workers()).solve();
		if (!options.count("no-rare-phasing")) rare_phaser(GH).phase(workers());
		if (options.count("output-max")) writeHaps("output-max");
		if (options.count("output-vcf")) writeVcf(true);
	}
	if (options.count("output-sample")) {
		sampler(GH, false, workers(), true).sample();
		if (!options.count("no-rare-phasing")) rare_phaser(GH).phase(workers());
		writeHaps("output-sample");
	}
}

// Each replicate draws every individual's haplotypes once and counts, per window, the
// combination of window haplotypes each individual got, its tracks in graph order.
void converter::samplePairs() {
	LOG.println("");
	sampler S(GH, false, workers(), false);
	const int R = options["replicate"].as < int > ();
	for (int r = 0 ; r < R ; r ++) {
		LOG.printlnL("Sampling haplotypes " + sutils::int2str(r));
		LOG.printC("\rSampling haplotypes [" + sutils::int2str(r + 1) + "/" + sutils::int2str(R) + "]");
		S.sample();
		for (haplotype_pairs & W : pairs) for (unsigned int i = 0 ; i < GH.vecG.size() ; i ++) {
			const std::vector < int > & h = GH.ind2hap[i];
			std::vector < chaplotype > & V = GH.vecH;
			switch (GH.vecG[i]->type) {
			case 1: W.addP(i, V[h[0]]); break;
			case 2: W.addP(i, V[h[0]], V[h[1]]); break;
			case 3: W.addP(i, V[h[0]], V[h[1]], V[h[2]]); break;
			case 4: W.addP(i, V[h[0]], V[h[1]], V[h[2]], V[h[3]]); break;
			}
		}
	}
	if (R > 0) LOG.printlnC("");
	for (haplotype_pairs & W : pairs) {
		W.normaliseProbs();
		W.computeFrequencies();
		W.writePairs(GH.vecG);
		W.writeFreqs();
	}
}

void converter::writeHaplotypeOutputs() {
	if (options.count("output-haps")) writeHaps("output-haps");
	if (options.count("output-vcf")) writeVcf(false);
	if (options.count("output-ref")) {
		std::vector < std::string > f = fileSet("output-ref", { ".haplotypes", ".legend", ".samples" });
		haplotype_writer writerH(filter_out, GH, sample_header1, sample_header2, false);
		writerH.writeHaplotypeRef(f[0], f[1], f[2]);
	}
}
