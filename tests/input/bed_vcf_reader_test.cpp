#include "genotype_test_utils.h"

using namespace genotest;

namespace {

const std::string bim = "1 rs1 0 100 A G\n1 rs2 0 200 C T\n1 rs3 0 300 0 T\n1 rs4 0 400 0 C\n";
const std::string fam = "F s1 0 0 1 -9\nF s2 s1 0 2 -9\nF s3 0 0 1 -9\nF s4 0 s3 1 -9\nF s5 0 0 2 -9\n";

// Two-bit codes 0 hom first allele, 1 missing, 2 het, 3 hom second allele; samples s1..s5: site 100: 0 2 3 1 3; site 200: excluded; site 300: 3 1 2 2
// 0; site 400: 3 3 2 1 3. Site-major: two bytes a site, the upper six bits of each second byte are padding.
const std::string bedSM("\x6C\x1B\x01\x78\xAB\xFF\xFF\xA7\x00\x6F\x03", 11);
// Individual-major: one byte a sample, sites 100, 200, 300, 400 from the low bits up.
const std::string bedIM("\x6C\x1B\x00\xFC\xD2\xFF\x61\xC3", 8);

void readBed(Store & S, const TempDir & d, const std::string & bed) {
	S.F.ind_exclude["s3"] = false;
	S.F.snp_exclude[200] = true;
	S.G.readGenotypeBed(d.file(bed), d.file("p.bim"), d.file("p.fam"));
}

const std::string vcf =
	"##fileformat=VCFv4.2\n"
	"##INFO=<ID=DP,Number=1,Type=Integer,Description=\"Depth\">\n"
	"#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\tA\tB\tC\tD\n"
	"1\t100\trs1\tA\tG\t50\tPASS\tDP=10\tGT\t0/0\t1|0\tjunk\t1/1\n"
	"1\t150\trs2\tA\tG\t.\t.\t.\tDP\t1\t1\t1\t1\n"
	"##a comment after the header\n"
	"1\t200\trs3\tC\tT\t.\tq10\t.\tDP:GT:GQ\t3:./.:5\t4:0/.:5\tjunk\t1:./1:3\n"
	"1\t250\t.\tA\tC,G\t.\t.\t.\tGT\t0/1\t1/2\tjunk\t0/0\n"
	"1\t260\t.\tA\t*\t.\t.\t.\tGT\t0/1\t0/1\tjunk\t0/0\n"
	"1\t270\t.\tA\t<DEL>\t.\t.\t.\tGT\t0/1\t0/1\tjunk\t0/0\n"
	"1\t300\t.\tG\tA\t.\t.\t.\tGT:DP\t1|1\t1/1\tjunk\t1/1\n"
	"1\t400\trs5\tT\tC\t.\t.\t.\tGT\t1\t0\tjunk\t.\n"
	"1\t500\trs6\tA\tC\t.\t.\t.\tDP:GT\t7\t7:.\tjunk\t7:0|1\n"
	"1\t600\trs7\tA\tT\t.\t.\t.\tGT:DP:GT\t0/0:3:1/1\t0/0:3:1/1\tjunk\t0|0:1:1|1\r\n";

}

// Both record orders; only bit 0 of the mode byte counts; a compressed BED reads alike.
TEST(bed_reader, BothOrdersFiltersAndFatalMessages) {
	TempDir d;
	writeFiles(d, { { "p.bim", bim }, { "p.fam", fam }, { "sm.bed", bedSM }, { "im.bed", bedIM }, { "mode.bed.gz", std::string(bedSM).replace(2, 1, "\xFD") } });
	for (std::string bed : { "sm.bed", "im.bed", "mode.bed.gz" }) {
		SCOPED_TRACE(bed);
		Store S(true);
		std::string log = logOf(d, [&] { readBed(S, d, bed); });
		EXPECT_EQ(S.G.ind_id, std::vector < std::string > ({ "s1", "s2", "s4", "s5" }));
		// 300 keeps its "0" allele (a heterozygote exists); 400 has only second alleles.
		EXPECT_EQ(siteList(S.G.sites.get()), "100:A/G 300:0/T 400:C/C");
		EXPECT_EQ(allGenotypes(S.G), "00 11 00 | 01 .. 00 | .. 01 .. | 11 00 00");
		EXPECT_EQ(S.G.sites->getByIndex(1)->id + " " + std::to_string(S.G.sites->getByIndex(1)->source), "rs3 2");
		// The BIM file lists the reference allele second; plink's missing phenotype -9 is NA.
		EXPECT_TRUE(S.G.sites->getByIndex(0)->ref_a1);
		EXPECT_EQ(S.G.ind_fields[0], std::vector < std::string > ({ "F", "0", "0", "0", "1", "NA" }));
		EXPECT_TRUE(has(log, "  * 2 males / 2 females\n  * 2 unrelateds / 1 duos / 0 trios in 3 different families\n") &&
			has(log, std::string("  * Plink binary file ") + (bed == "im.bed" ? "individual" : "SNP") + "-major mode\n")) << log;
	}
	testutils::silenceLog();
	const std::string more = "F s6 0 0 1 -9\nF s7 0 0 1 -9\nF s8 0 0 1 -9\nF s9 0 0 1 -9\n";
	expectFaults(d, { { "p.bim", bim }, { "p.fam", fam }, { "p.bed", bedSM } }, {
		{ "p.bed", std::string("\x6C\x1C\x01") + bedSM.substr(3), "Binary file format unsupported" },
		{ "p.bed", "", "Binary file format unsupported" },
		{ "p.bed", bedSM.substr(0, bedSM.size() - 1), "Binary file SM corrupted" },
		{ "p.bed", bedIM.substr(0, bedIM.size() - 1), "Binary file IM corrupted" },
		{ "p.bed", bedSM + std::string(1, '\0'), "Binary file corrupted : terminating bits" },
		{ "p.fam", fam + more, "Binary file SM corrupted" },	// FAM lines too many: BED too short
		{ "p.fam", fam + "F s6 0 0 1\n", "Line=6 found=5 fields expected=6" },
		{ "p.bim", "1 rs1 0 100 A\n", "Line=1 found=5 fields expected=6" },
		{ "p.bim", "1 rs1 0 -2147483649 A G\n", "Position -2147483649 at line 1 of \\[.*/p\\.bim\\] is out of range" },
		{ "p.fam", "F s1 0 s1 1 -9\n", "Individual s1 is given as its own parent" },
	}, [&] { Store S; readBed(S, d, "p.bed"); });
}

// Plain, compressed and multi-member files read alike; a BGZF file cut at a block boundary fails for want of its last, empty block.
TEST(vcf_reader, FieldsCompressedTruncatedFatalAndEmptyFiles) {
	TempDir d;
	// bgzip writes a series of gzip members; cut the file inside a data line.
	const size_t cut = vcf.find("1\t300") + 4;
	writeFiles(d, { { "v.vcf", vcf }, { "v.vcf.gz", vcf }, { "v.vcf.bz2", vcf }, { "part1.gz", vcf.substr(0, cut) }, { "part2.gz", vcf.substr(cut) } });
	d.write("bgzip.vcf.gz", d.read("part1.gz") + d.read("part2.gz"));
	for (std::string name : { "v.vcf", "v.vcf.gz", "v.vcf.bz2", "bgzip.vcf.gz" }) {
		SCOPED_TRACE(name);
		// Chromosome X: the haploid calls at 400 make A and B males.
		Store S(true);
		S.F.ind_exclude["C"] = false;
		S.F.snp_exclude[150] = true;
		std::string log = logOf(d, [&] { S.G.readGenotypeVcf(d.file(name)); });
		EXPECT_EQ(S.G.ind_id, std::vector < std::string > ({ "A", "B", "D" }));
		EXPECT_EQ(siteList(S.G.sites.get()), "100:A/G 200:C/T 300:G/A 400:T/C 500:A/C 600:A/T");
		EXPECT_EQ(allGenotypes(S.G), "00 .. 11 11 .. 11 | 01 .. 11 00 .. 11 | 11 .. 11 .. 01 11");
		EXPECT_EQ(S.G.ind_male, std::vector < bool > ({ true, true, false }));
		EXPECT_EQ(S.G.ind_fields[1], std::vector < std::string > ({ "B", "0" }));
		snp * s = S.G.sites->getByIndex(0);
		EXPECT_EQ(s->id + " " + std::to_string(s->source) + " " + S.G.sites->getByIndex(2)->id, "rs1 5 .");
		EXPECT_EQ(s->properties, std::vector < std::string > ({ "50", "PASS", "DP=10" }));
		EXPECT_EQ(S.G.sites->getByIndex(1)->properties, std::vector < std::string > ({ ".", "q10", "." }));
		EXPECT_EQ(S.G.sites->vcf_header, std::vector < std::string > ({ "##INFO=<ID=DP,Number=1,Type=Integer,Description=\"Depth\">" }));
		EXPECT_TRUE(has(log, "  * 2 samples with haploid genotypes, taken as males\n"
			"  * 3 multiallelic or symbolic records skipped; split them with bcftools norm -m- to phase them\n  * 6 SNPs included\n")) << log;
	}
	d.write("small.vcf", vcf);
	ASSERT_EQ(testutils::runCommand("bgzip small.vcf", d.path).status, 0);
	d.write("noeof.vcf.gz", d.read("small.vcf.gz").substr(0, d.read("small.vcf.gz").size() - 28));
	EXPECT_LOG_ERROR({ Store S; S.G.readGenotypeVcf(d.file("noeof.vcf.gz")); }, "File \\[.*/noeof.vcf.gz\\] is corrupted or truncated");

	const std::string head = "##fileformat=VCFv4.2\n#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\tA\tB\n";
	const std::string line200 = "1\t200\t.\tA\tG\t.\t.\t.\tGT\t0/0\t0/1\n";
	expectFaults(d, {}, {
		// Site 100 is excluded: its FORMAT is not looked at, but it counts in the data line index.
		{ "v.vcf", head + "1\t100\t.\tA\tG\t.\t.\t.\tDP\t1\t1\n1\t200\t.\tA\tG\t.\t.\t.\tDP:GQ\t1:1\t1:1\n", "No GT found at site idx=1 pos=200" },
		{ "v.vcf", "##fileformat=VCFv4.2\n#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\n1\t200\t.\tA\tG\t.\t.\t.\n", "File \\[.*/v\\.vcf\\] has no samples, so no genotypes to phase" },
		{ "v.vcf", "##fileformat=VCFv4.2\n1\t200\t.\tA\tG\t.\t.\t.\tGT\t0/0\n", "has no samples" },
		{ "v.vcf", head + "1\t200\t.\tA\tG\t.\t.\t.\tGT\t0/0\n", "Line=3 found=10 fields, expected=11" },
		{ "v.vcf", head + "1\t200\t.\tA\n", "Line=3 found=4 fields, expected=11" },
		{ "v.vcf", head + line200 + head, "Line=5 sample header found after the first data line" },
		{ "v.vcf", head + "1\t200\t.\tA\tG\t.\t.\t.\tGT\t0/0\t0/2\n", "Genotype \\[0/2\\] of sample B at site pos=200 of \\[.*/v\\.vcf\\] has an allele index above 1" },
		{ "v.vcf", head + "1\t200\t.\tA\tG\t.\t.\t.\tGT\t0/1/1\t0/1\n", "Genotype \\[0/1/1\\] of sample A at site pos=200 .* has more than two alleles" },
		{ "v.vcf", head + "1\t200\t.\tA\tG\t.\t.\t.\tGT\t0/\t0/1\n", "Genotype \\[0/\\] of sample A at site pos=200 .* is not a genotype" },
		{ "v.vcf", head + "1\t200\t.\tA\tG\t.\t.\t.\tGT\t1\t0/1\n", "Genotype \\[1\\] of sample A at site pos=200 .* is haploid: haploid genotypes are read on chromosome X only, with --chrX" },
		// Wrapped to 32 bits, this position would read as 1044369.
		{ "v.vcf", head + "1\t4296011665\t.\tA\tG\t.\t.\t.\tGT\t0/0\t0/1\n", "Position 4296011665 at line 3 of \\[.*/v\\.vcf\\] is out of range: positions go up to 2147483647" },
		// Read as far as it parses, this one would be 4.
		{ "v.vcf", head + "1\t4.29601e+09\t.\tA\tG\t.\t.\t.\tGT\t0/0\t0/1\n", "Position 4.29601e\\+09 at line 3 of \\[.*/v\\.vcf\\] is not a whole number" },
		// No data line, no line at all, no format line, and only excluded sites.
		{ "v.vcf", head, "No site read from \\[.*/v\\.vcf\\]\n" },
		{ "v.vcf", "", ".*/v\\.vcf is not a VCF file \\(no ##fileformat header\\)" },
		{ "v.vcf", head.substr(head.find('#', 1)), "is not a VCF file" },
		{ "v.vcf", head + "1\t100\t.\tA\tG\t.\t.\t.\tGT\t0/0\t0/1\n", "No site read from \\[.*/v\\.vcf\\]: all 1 were excluded" },
	}, [&] { Store S; S.F.snp_exclude[100] = true; S.G.readGenotypeVcf(d.file("v.vcf")); });
}
