// Reading time of a compressed VCF of 1000 samples and 100,000 sites, generated once
// with a fixed seed. Run by hand: build with -DSORVANE_BENCH=ON, then
// build/bench/bench_read_vcf [file]
#include "input/filter_reader.h"
#include "input/genotype_reader.h"
#include "objects/snp_set.h"
#include "utils/lfile.h"
#include "utils/ofile.h"
#include "utils/putils.h"

#include <chrono>
#include <cstdio>
#include <string>

static void generate(const std::string & file, int n_samples, int n_sites) {
	putils::initRandom(2024);
	ofile out(file);
	out << "##fileformat=VCFv4.2\n#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT";
	for (int i = 0 ; i < n_samples ; i ++) out << "\tS" << i;
	out << "\n";
	const char * calls[4] = { "\t0/0", "\t0/1", "\t1/1", "\t./." };
	std::string line;
	for (int l = 0 ; l < n_sites ; l ++) {
		double freq = putils::getRandom();
		line = "20\t" + std::to_string(100 + 10 * l) + "\trs" + std::to_string(l) + "\tA\tG\t.\tPASS\t.\tGT";
		for (int i = 0 ; i < n_samples ; i ++) {
			double u = putils::getRandom();
			int x = u < 0.01 ? 3 : (u < freq * freq ? 2 : (u < freq * (2 - freq) ? 1 : 0));
			line += calls[x];
		}
		out << line << "\n";
	}
	out.close();
}

int main(int argc, char ** argv) {
	const std::string file = argc > 1 ? argv[1] : "/tmp/sorvane_bench_1000x100000.vcf.gz";
	const int n_samples = 1000, n_sites = 100000;
	FILE * f = fopen(file.c_str(), "r");
	if (f) fclose(f);
	else generate(file, n_samples, n_sites);

	LOG.muteC();
	LOG.muteL();
	filter_reader filter;
	genotype_reader G(filter, false);
	auto start = std::chrono::steady_clock::now();
	G.readGenotypeVcf(file);
	double seconds = std::chrono::duration < double > (std::chrono::steady_clock::now() - start).count();
	printf("Read %d samples x %d sites from %s in %.2f s\n", (int)G.ind_id.size(), G.sites->size(), file.c_str(), seconds);
	return 0;
}
