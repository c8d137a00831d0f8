#include "cli/example_subset.h"

using namespace testutils;

namespace {

using exsubset::E;

void phase(const TempDir & d, const std::string & input, const std::string & stem, const std::string & more = "", int threads = 1) {
	exsubset::phaseSubset(d, input + " --thread " + std::to_string(threads) + " --seed 3 --output-vcf " + stem + ".vcf.gz " + more, stem);
}

// The example subset as bgzip-compressed, indexed VCF x.vcf.gz, with its chromosome renamed.
void subsetVcf(const TempDir & d, const std::string & chr = "20") {
	exsubset::writeSubset(d);
	runOk("bcftools view -I -S subset -t 20:1-" + std::to_string(exsubset::LAST_BP) + " " + E + "/cohort.vcf.gz | sed 's/^20\\t/" + chr + "\\t/; s/<ID=20>/<ID=" + chr + ">/' | bgzip > x.vcf.gz && tabix -f x.vcf.gz", d.path);
}

// Per site: position, then per sample its genotype as unordered letters ("AG"), "." when missing.
std::vector < std::vector < std::string > > genotypes(const TempDir & d, const std::string & vcf) {
	std::vector < std::vector < std::string > > rows;
	for (const std::string & l : lines(runOk("bcftools query -f '%POS[ %TGT]\\n' " + vcf, d.path))) {
		rows.push_back(words(l));
		for (std::string & g : rows.back()) if (g.size() == 3) g = g.find('.') != std::string::npos ? "." : std::string(1, std::min(g[0], g[2])) + std::max(g[0], g[2]);
	}
	return rows;
}

}

// A VCF as pipelines write it: header kept, AC and AN counted again, unphasable records left out.
TEST(cli_interop, PipelineVcf) {
	TempDir d;
	subsetVcf(d);
	d.write("head", "##contig=<ID=20,length=64444167,assembly=GRCh38>\n##INFO=<ID=AC,Number=A,Type=Integer,Description=\"Allele count\">\n"
		"##INFO=<ID=AN,Number=1,Type=Integer,Description=\"Allele number\">\n##INFO=<ID=DP,Number=1,Type=Integer,Description=\"Depth\">\n");
	// Every 50th record as it was (without AC and AN); one missing genotype in every 7th;
	// after the 10th, 20th, 30th and 40th, a record of ALT C,G, C,T, * and AT.
	runOk("bcftools view -h x.vcf.gz | grep -v '^##contig' | sed '/^#CHROM/e cat head' > chr20.vcf && bcftools view -H x.vcf.gz | awk -v OFS='\\t' '"
		"{ n ++ ; if (n % 50) { $8 = \"AC=1;AN=46;DP=\" n ; if (n % 7 == 0 && !/\\.\\/\\./) $(10 + n % 23) = \"./.\" } print ;"
		" if (n % 10 == 0 && n <= 40) { $2 ++ ; $4 = \"A\" ; $5 = substr(\"C,G C,T *   AT\", 4 * n / 10 - 3, 3) ; sub(/ +/, \"\", $5) ; print } }' >> chr20.vcf && bgzip chr20.vcf && tabix chr20.vcf.gz", d.path);
	phase(d, "--input-vcf chr20.vcf.gz", "p", "", 2);
	EXPECT_TRUE(has(d.read("p.log"), "  * 3 multiallelic or symbolic records skipped; split them with bcftools norm -m- to phase them\n"));
	EXPECT_EQ(runOk("bcftools view -h p.vcf.gz | grep -e '^##INFO' -e '^##contig'", d.path), runOk("zgrep -e '^##INFO' -e '^##contig' chr20.vcf.gz", d.path));
	const int n_records = std::stoi(runOk("bcftools view -H p.vcf.gz | wc -l", d.path));
	ASSERT_TRUE(succeeded(runSorvane("-convert --input-haps p --output-vcf p.bcf -L c", d.path)));
	for (std::string file : { "p.vcf.gz", "p.bcf" }) {
		EXPECT_EQ(runOk("bcftools index -n " + file, d.path), std::to_string(n_records) + "\n") << file;
		EXPECT_TRUE(has(runOk("bcftools stats " + file, d.path), "number of samples:\t23\n")) << file;
	}
	EXPECT_EQ(n_records, std::stoi(runOk("bcftools view -H chr20.vcf.gz | wc -l", d.path)) - 3);
	const std::string counted = "bcftools view -i 'AN>0' p.vcf.gz | ";
	EXPECT_EQ(runOk(counted + "bcftools +fill-tags -- -t AC,AN | bcftools query -f '%POS %AC %AN %DP\\n'", d.path), runOk(counted + "bcftools query -f '%POS %AC %AN %DP\\n'", d.path));
	EXPECT_EQ(std::stoi(runOk(counted + "grep -vc '^#'", d.path)), n_records - (n_records - 1) / 50);
}

// From plink2's BED and PED files: REF and ALT where plink2 puts them; plink2 reads back the phase.
TEST(cli_interop, PlinkFilesAndOneChromosomeAtATime) {
	TempDir d;
	subsetVcf(d);
	runOk("plink2 --vcf x.vcf.gz --make-bed --out b && plink2 --vcf x.vcf.gz --export ped --out p && plink2 --bfile b --export vcf --out bx && plink2 --pedmap p --export vcf --out px", d.path);
	for (const auto & p : std::map < std::string, std::string > { { "v", "--input-vcf x.vcf.gz" }, { "b", "--input-bed b" }, { "pp", "--input-ped p" } }) phase(d, p.second, p.first);
	const std::string sites = "bcftools query -f '%CHROM %POS %REF %ALT\\n' ";
	for (std::string pair : { "b.vcf.gz v.vcf.gz", "b.vcf.gz bx.vcf", "pp.vcf.gz px.vcf" })
		EXPECT_EQ(runOk(sites + words(pair)[0], d.path), runOk(sites + words(pair)[1], d.path)) << pair;
	const std::vector < std::vector < std::string > > input = genotypes(d, "x.vcf.gz");
	for (std::string stem : { "v", "b", "pp" }) {
		std::vector < std::vector < std::string > > out = genotypes(d, stem + ".vcf.gz");
		ASSERT_EQ(out.size(), input.size()) << stem;
		for (size_t l = 0 ; l < input.size() ; l ++) for (size_t k = 0 ; k < input[l].size() ; k ++) if (input[l][k] == ".") out[l][k] = ".";
		EXPECT_EQ(out, input) << stem;
		runOk("plink2 --haps " + stem + ".haps ref-first --sample " + stem + ".sample --export vcf --out back_" + stem, d.path);
	}
	EXPECT_EQ(runOk("bcftools query -f '[%GT ]\\n' back_v.vcf", d.path), runOk("bcftools query -f '[%GT ]\\n' v.vcf.gz", d.path));
	// Streamed as text or BCF (converted HAPS, without phase confidence); the screen to standard error.
	for (std::string stream : { "--input-vcf x.vcf.gz" + exsubset::subsetArgs() + "--thread 1 --seed 3 --output-vcf - -L s", std::string("-convert --input-haps v --output-vcf -.bcf -L s") }) {
		const std::string query = has(stream, "convert") ? "bcftools query -f '%CHROM %POS %REF %ALT[ %GT]\\n' " : "bcftools view -H ";
		RunResult r = testutils::runCommand(SORVANE_BIN " " + stream + " | " + query, d.path);
		EXPECT_TRUE(r.out == runOk(query + "v.vcf.gz", d.path) && has(r.err, "  * LOGfile : [s.log]\n")) << stream << "\n" << r.err;
	}
	EXPECT_TRUE(has(d.read("b.sample"), "ID_1 ID_2 missing father mother sex plink_pheno\n0 0 0 D D D B\n0 IND0001 0 0 0 0 NA\n")) << d.read("b.sample");
	// Two chromosomes are refused by every reader, naming --region; with it, each phases as its own file.
	runOk("mv x.vcf.gz x20.vcf.gz && mv x.vcf.gz.tbi x20.vcf.gz.tbi", d.path);
	subsetVcf(d, "21");
	runOk("mv x.vcf.gz x21.vcf.gz && bcftools concat -Oz -o two.vcf.gz x20.vcf.gz x21.vcf.gz && tabix two.vcf.gz && bcftools view -Ob -o two.bcf two.vcf.gz && bcftools index two.bcf"
		" && plink2 --vcf two.vcf.gz --make-bed --out two && plink2 --vcf two.vcf.gz --export ped --out two && plink2 --vcf two.vcf.gz --export oxford --out two"
		" && bcftools view -Oz -o cut21.vcf.gz -t 21:1030000-1080000 x21.vcf.gz", d.path);
	d.write("cut.bcf", d.read("two.bcf").substr(0, d.read("two.bcf").size() / 2));
	d.write("other.txt", "1 1 0\n2 1 0.5\n");
	const std::string two = "] holds sites of more than one chromosome (20, then 21 at position 1000474): phase one chromosome at a time, choosing it with --region (for instance --region 20)";
	for (const auto & c : std::vector < std::pair < std::string, std::string > > { { "--input-vcf two.vcf.gz", "[two.vcf.gz" + two }, { "--input-vcf two.bcf", "[two.bcf" + two },
			{ "--input-bed two", "[two.bim" + two }, { "--input-ped two", "[two.map" + two }, { "--input-gen two.gen two.sample", "[two.gen" + two },
			{ "--input-vcf cut.bcf", "File [cut.bcf] is corrupted or truncated" },
			{ "--input-vcf x20.vcf.gz --input-map other.txt", "Genetic map [other.txt] covers positions 1 to 2, and none of the sites" } })
		EXPECT_TRUE(refused(runSorvane(c.first + " --output-max o -L o", d.path), c.second)) << c.first;
	phase(d, "--input-vcf x20.vcf.gz", "alone20");
	phase(d, "--input-vcf cut21.vcf.gz", "alone21");
	for (std::string two : { "two.vcf.gz", "two.bcf" }) {
		phase(d, "--input-vcf " + two, "r20", "--region 20");
		phase(d, "--input-vcf " + two, "r21", "--region 21:1030000-1080000");
		EXPECT_EQ(d.read("r20.haps"), d.read("alone20.haps")) << two;
		EXPECT_EQ(d.read("r21.haps"), d.read("alone21.haps")) << two;
	}
}

TEST(cli_interop, GeneticMapLayouts) {
	TempDir d;
	subsetVcf(d, "chr20");
	const std::string map = E + "/genetic_map.txt";
	runOk("(echo 'Chromosome Position(bp) Rate(cM/Mb) Map(cM)' ; echo 'chr19 1 1 1' ; tail -n +2 " + map + " | sed 's/^/20 /' ; echo '21 1 1 1') > wide.txt", d.path);
	runOk("tail -n +2 " + map + " > bare.txt && (echo '19 x 1 1' ; tail -n +2 " + map + " | awk '{ print \"chr20 .\", $3, $1 }') > plink.map", d.path);
	phase(d, "--input-vcf x.vcf.gz", "three", "--input-map " + map);
	for (std::string layout : { "wide.txt", "bare.txt", "plink.map" }) {
		phase(d, "--input-vcf x.vcf.gz", layout, "--input-map " + layout);
		EXPECT_EQ(d.read(layout + ".haps"), d.read("three.haps")) << layout;
	}
}

