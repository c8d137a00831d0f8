#include "readmine/readmine.h"
#include "input/bamlist_reader.h"
#include "input/filter_reader.h"
#include "readmine/bam_scanner.h"
#include "readmine/het_sites.h"
#include "readmine/pir_writer.h"
#include "utils/globals.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <algorithm>
#include <iostream>
#include <map>

readmine::readmine() : descriptions("Options", 80, 40) {
}

void readmine::declareOptions() {
	descriptions.add_options()
		("help,H", "Produce help message.")
		("version", "Produce version number.")
		("bam-list", bpo::value < std::string > (), "List of read files, one a line: sample, BAM/CRAM file (relative to the list's folder), minimum mapping quality (-1: --min-mapq).")
		("vcf", bpo::value < std::string > (), "VCF/BCF of the biallelic sites of one chromosome with the samples' genotypes.")
		("output", bpo::value < std::string > (), "PIR file to write (.gz or .bz2 to compress).")
		("min-mapq", bpo::value < int > ()->default_value(20), "Minimum mapping quality of a read.")
		("min-baseq", bpo::value < int > ()->default_value(13), "Minimum base quality of a base at a site.")
		("region", bpo::value < std::string > (), "Sites to consider: CHR, CHR:FROM-TO or FROM-TO, 1-based and inclusive (default: all of the VCF, which must then hold one chromosome).")
		("reference", bpo::value < std::string > (), "FASTA file of the reference, for CRAM files.");
}

void readmine::parseCommandLine(std::vector < std::string > & args) {
	try {
		bpo::store(bpo::command_line_parser(args).options(descriptions).run(), options);
		bpo::notify(options);
	} catch (bpo::error const & e) {
		std::cout << "readmine : " << e.what() << std::endl;
		exit(1);
	}
	if (options.count("help") || args.empty()) {
		std::cout << "readmine: phase informative reads from BAM files, for sorvane -assemble and -mutinclude" << std::endl;
		std::cout << "Usage: readmine --bam-list FILE --vcf FILE --output FILE [options]" << std::endl << std::endl;
		std::cout << descriptions << std::endl;
		exit(args.empty() ? 1 : 0);
	}
	if (options.count("version")) {
		std::cout << "readmine v2.r" << SORVANE_REVISION << std::endl;
		exit(0);
	}
}

void readmine::checkOptions() {
	if (!options.count("bam-list")) LOG.error("You must specify a list of BAM files with option --bam-list");
	if (!options.count("vcf")) LOG.error("You must specify the genotypes with option --vcf");
	if (!options.count("output")) LOG.error("You must specify an output PIR file with option --output");
	if (options["min-mapq"].as < int > () < 0) LOG.error("The minimum mapping quality must be 0 or more");
	if (options["min-baseq"].as < int > () < 0) LOG.error("The minimum base quality must be 0 or more");
	if (options.count("region")) filter_reader::checkRegion(options["region"].as < std::string > ());
}

// A relative file name of the list is taken from the list's folder.
static std::string beside(const std::string & list, const std::string & file) {
	if (file.empty() || file[0] == '/') return file;
	size_t slash = list.find_last_of('/');
	return slash == std::string::npos ? file : list.substr(0, slash + 1) + file;
}

// Reads in the order of their sites, then of their bases and qualities: the order depends
// on nothing but the reads, not on the order in which mates met.
static bool bySite(const pir_read & a, const pir_read & b) {
	if (a.site != b.site) return a.site < b.site;
	if (a.base != b.base) return a.base < b.base;
	return a.quality < b.quality;
}

void readmine::run(std::vector < std::string > & args) {
	declareOptions();
	parseCommandLine(args);
	LOG.muteL();
	checkOptions();
	std::string list_file = options["bam-list"].as < std::string > ();
	std::string vcf = options["vcf"].as < std::string > ();
	std::string output = options["output"].as < std::string > ();
	int min_mapq = options["min-mapq"].as < int > ();

	bamlist_reader list;
	list.readBamList(list_file);
	het_sites H;
	H.readVcf(vcf, options.count("region") ? options["region"].as < std::string > () : "", list.col0);

	// The files of each sample, samples in their order of first appearance.
	std::vector < std::string > samples;
	std::map < std::string, std::vector < int > > files;
	for (int l = 0 ; l < (int)list.col0.size() ; l ++) {
		if (H.getSample(list.col0[l]) < 0) LOG.error("Sample [" + list.col0[l] + "] of the BAM list [" + list_file + "] is not in the VCF [" + vcf + "]");
		if (!files.count(list.col0[l])) samples.push_back(list.col0[l]);
		// Its reads would count twice.
		for (int k : files[list.col0[l]]) if (beside(list_file, list.col1[k]) == beside(list_file, list.col1[l]))
			LOG.error("File [" + beside(list_file, list.col1[l]) + "] is listed twice for sample [" + list.col0[l] + "] in [" + list_file + "], lines " + sutils::int2str(k + 1) + " and " + sutils::int2str(l + 1));
		files[list.col0[l]].push_back(l);
	}
	LOG.println("  * " + sutils::int2str(list.col0.size()) + " files of " + sutils::int2str(samples.size()) + " samples");

	bam_scanner scanner(H, options["min-baseq"].as < int > (), options.count("reference") ? options["reference"].as < std::string > () : "");
	// Every file is checked before the output is begun: a run that stops leaves no output.
	for (int l = 0 ; l < (int)list.col1.size() ; l ++) scanner.check(beside(list_file, list.col1[l]));
	pir_writer W;
	W.open(output);
	W.writeMap(H);
	long n_pir = 0;
	for (const std::string & name : samples) {
		std::vector < pir_read > pirs;
		for (int l : files[name]) {
			std::string file = beside(list_file, list.col1[l]);
			scanner.scan(file, H.getSample(name), list.col2[l] >= 0 ? list.col2[l] : min_mapq, pirs);
			std::cerr << "readmine: [" << file << "] of " << name << ": " << scanner.n_used << " reads used, " << scanner.n_pir << " phase informative" << std::endl;
		}
		std::sort(pirs.begin(), pirs.end(), bySite);
		W.writeSample(name, pirs);
		n_pir += pirs.size();
	}
	W.close();
	LOG.println("  * " + sutils::long2str(n_pir) + " phase informative reads of " + sutils::int2str(samples.size()) + " samples written to [" + output + "]");
}
