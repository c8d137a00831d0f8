#include "cli/example_subset.h"
#include "test_utils.h"

#include <map>
#include <set>

using testutils::RunResult;
using testutils::TempDir;
using testutils::has;
using testutils::lines;
using testutils::runOk;
using testutils::runSorvane;
using testutils::words;

namespace {

const std::string E = SORVANE_EXAMPLE_DATA;

// A site report of -check with the alleles in a fixed order: a tool that writes the
// alleles of a site the other way round gives the same rows.
std::set < std::string > siteRows(const std::string & report) {
	std::set < std::string > rows;
	for (const std::string & l : lines(report)) {
		std::vector < std::string > t = words(l);
		if (t[0] == "id") continue;
		std::map < std::string, std::string > counts = { { t[2], t[5] + "/" + t[7] }, { t[3], t[6] + "/" + t[8] } };
		std::string row = t[1] + " " + t[4];
		for (const auto & c : counts) row += " " + c.first + ":" + c.second;
		rows.insert(row);
	}
	return rows;
}

}

// The example cohort exported by plink2 as VCF, PED/MAP, BED/BIM/FAM and Oxford GEN/SAMPLE,
// and by bcftools as BCF, reads to the same genotypes as the example's own VCF: the same
// missingness per sample and the same allele counts per site in the reports of -check. A
// truncated BCF file stops the run.
TEST(cli_interop, ExportsReadAlike) {
	TempDir d;
	const std::string plink = "plink2 --vcf " + E + "/cohort.vcf.gz --out x ";
	runOk(plink + "--export vcf && " + plink + "--export ped && " + plink + "--export oxford && " + plink + "--make-bed && bcftools view -Ob -o x.bcf " + E + "/cohort.vcf.gz", d.path);
	const std::vector < std::pair < std::string, std::string > > inputs = {
		{ "vcf", "--input-vcf x.vcf" }, { "ped", "--input-ped x" }, { "gen", "--input-gen x.gen x.sample" }, { "bed", "--input-bed x" },
		{ "bcf", "--input-vcf x.bcf" },
	};
	ASSERT_EQ(runSorvane("-check --input-vcf " + E + "/cohort.vcf.gz -L own", d.path).status, 0);
	const std::set < std::string > own = siteRows(d.read("own.snp.mm"));
	ASSERT_GT(own.size(), 1000u);
	for (const auto & input : inputs) {
		RunResult r = runSorvane("-check " + input.second + " -L " + input.first, d.path);
		ASSERT_EQ(r.status, 0) << input.second << "\n" << r.out;
		EXPECT_EQ(d.read(input.first + ".ind.mm"), d.read("own.ind.mm")) << input.first;
		EXPECT_EQ(siteRows(d.read(input.first + ".snp.mm")), own) << input.first;
	}
	const std::string bcf = d.read("x.bcf");
	d.write("cut.bcf", bcf.substr(0, bcf.size() / 2));
	EXPECT_TRUE(testutils::refused(runSorvane("-check --input-vcf cut.bcf -L cut", d.path), "File [cut.bcf] is corrupted or truncated"));
}

// Phased output as VCF, BGZF with its index and BCF: bcftools reads, re-indexes and counts
// the same sites and samples; the HAPS/SAMPLE output loads in plink2, whose VCF export
// gives back the phased genotypes. Streamed to standard output, as text or BCF, the same
// records go to bcftools, and the screen to standard error.
TEST(cli_interop, OutputsLoadInBcftoolsAndPlink2) {
	TempDir d;
	exsubset::writeSubset(d);
	const std::string phase = "--input-vcf " + E + "/cohort.vcf.gz" + exsubset::subsetArgs() + "--thread 1 --seed 1 ";
	RunResult r = runSorvane(phase + "--output-max p --output-vcf p.vcf.gz -L p", d.path);
	ASSERT_EQ(r.status, 0) << r.out;
	ASSERT_EQ(runSorvane("-convert --input-haps p --output-vcf p.bcf -L c", d.path).status, 0);
	for (std::string stream : { phase + "--output-vcf - -L s", std::string("-convert --input-haps p --output-vcf -.bcf -L s") }) {
		r = testutils::runCommand(SORVANE_BIN " " + stream + " | bcftools view -H", d.path);
		EXPECT_EQ(r.out, runOk("bcftools view -H p." + std::string(has(stream, "bcf") ? "bcf" : "vcf.gz"), d.path)) << stream;
		EXPECT_TRUE(has(r.err, "  * LOGfile : [s.log]\n")) << r.err;
	}
	const std::vector < std::string > haps = lines(d.read("p.haps"));
	const std::string sites = std::to_string(haps.size());
	for (std::string file : { "p.vcf.gz", "p.bcf" }) {
		runOk("bcftools view " + file + " > /dev/null", d.path);
		EXPECT_EQ(runOk("bcftools index -n " + file, d.path), sites + "\n") << file;
		runOk("bcftools index -f " + file, d.path);
		const std::string stats = runOk("bcftools stats " + file + " | grep '^SN'", d.path);
		EXPECT_TRUE(has(stats, "number of samples:\t23\n")) << stats;
		EXPECT_TRUE(has(stats, "number of records:\t" + sites + "\n")) << stats;
	}
	const std::string region = runOk("bcftools view -H -r 20:1000000-1050000 p.vcf.gz | wc -l", d.path);
	EXPECT_GT(std::stoi(region), 0);
	EXPECT_LT(std::stoi(region), (int)haps.size());

	runOk("plink2 --haps p.haps ref-first --sample p.sample --export vcf --out back", d.path);
	std::string expected, got;
	for (const std::string & l : haps) {
		std::vector < std::string > t = words(l);
		for (unsigned int k = 5 ; k < t.size() ; k += 2) expected += t[k] + "|" + t[k + 1] + " ";
		expected += "\n";
	}
	for (const std::string & l : lines(d.read("back.vcf"))) {
		if (l[0] == '#') continue;
		std::vector < std::string > t = words(l);
		for (unsigned int k = 9 ; k < t.size() ; k ++) got += t[k] + " ";
		got += "\n";
	}
	EXPECT_EQ(got, expected);
}
