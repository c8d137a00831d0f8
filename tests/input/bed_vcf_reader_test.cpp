#include "genotype_test_utils.h"
#include "utils/putils.h"

#include <ios>

using genotest::Store;
using testutils::TempDir;

namespace {

bool contains(const std::string & text, const std::string & part) {
	return text.find(part) != std::string::npos;
}

std::string bytes(std::initializer_list < int > list) {
	std::string s;
	for (int b : list) s.push_back((char)b);
	return s;
}

const std::string bim =
	"1 rs1 0 100 A G\n"
	"1 rs2 0 200 C T\n"
	"1 rs3 0 300 0 T\n"
	"1 rs4 0 400 0 C\n";

const std::string fam =
	"F s1 0 0 1 -9\n"
	"F s2 s1 0 2 -9\n"
	"F s3 0 0 1 -9\n"
	"F s4 0 s3 1 -9\n"
	"F s5 0 0 2 -9\n";

// Two-bit codes 0 hom first allele, 1 missing, 2 het, 3 hom second allele.
// site 100: s1 0, s2 2, s3 3, s4 1, s5 3
// site 200: anything (excluded)
// site 300: s1 3, s2 1, s3 2, s4 2, s5 0
// site 400: s1 3, s2 3, s3 2, s4 1, s5 3
// Site-major: two bytes a site, the upper six bits of each second byte are padding.
const std::string bedSM = bytes({ 0x6C, 0x1B, 0x01, 0x78, 0xAB, 0xFF, 0xFF, 0xA7, 0x00, 0x6F, 0x03 });
// Individual-major: one byte a sample, sites 100, 200, 300, 400 from the low bits up.
const std::string bedIM = bytes({ 0x6C, 0x1B, 0x00, 0xFC, 0xD2, 0xFF, 0x61, 0xC3 });

// Reads the BED triple of the folder with sample s3 and site 200 excluded.
void readBed(Store & S, const TempDir & d, const std::string & bed) {
	S.F.ind_exclude["s3"] = false;
	S.F.snp_exclude[200] = true;
	S.G.readGenotypeBed(d.file(bed), d.file("p.bim"), d.file("p.fam"));
}

void expectBedStore(Store & S) {
	EXPECT_EQ(S.G.ind_id, std::vector < std::string > ({ "s1", "s2", "s4", "s5" }));
	// 300 keeps its "0" allele (a heterozygote exists); 400 has only second alleles.
	EXPECT_EQ(genotest::siteList(S.G), "100:A/G 300:0/T 400:C/C");
	EXPECT_EQ(genotest::genotypes(S.G, 0), "00 11 00");
	EXPECT_EQ(genotest::genotypes(S.G, 1), "01 .. 00");
	EXPECT_EQ(genotest::genotypes(S.G, 2), ".. 01 ..");
	EXPECT_EQ(genotest::genotypes(S.G, 3), "11 00 00");
}

const std::string vcf =
	"##fileformat=VCFv4.2\n"
	"##INFO=<ID=DP,Number=1,Type=Integer,Description=\"Depth\">\n"
	"#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\tA\tB\tC\tD\n"
	"1\t100\trs1\tA\tG\t50\tPASS\tDP=10\tGT\t0/0\t1|0\tjunk\t1/1\n"
	"1\t150\trs2\tA\tG,T\t.\t.\t.\tDP\t1\t1\t1\t1\n"
	"##a comment after the header\n"
	"1\t200\trs3\tC\tT\t.\tq10\t.\tDP:GT:GQ\t3:./.:5\t4:0/.:5\tjunk\t1:./1:3\n"
	"1\t300\t.\tG\tA\t.\t.\t.\tGT:DP\t1|1\t0/2\tjunk\t2/2\n"
	"1\t400\trs5\tT\tC\t.\t.\t.\tGT\t1\t0\tjunk\t.\n"
	"1\t500\trs6\tA\tC\t.\t.\t.\tDP:GT\t7\t7:0/\tjunk\t7:0|1\n"
	"1\t600\trs7\tA\tT\t.\t.\t.\tGT:DP:GT\t0/0:3:1/1\t0/0:3:1/1\tjunk\t0|0:1:1|1\r\n";

void readVcf(Store & S, const std::string & file) {
	S.F.ind_exclude["C"] = false;
	S.F.snp_exclude[150] = true;
	S.G.readGenotypeVcf(file);
}

void expectVcfStore(Store & S) {
	EXPECT_EQ(S.G.ind_id, std::vector < std::string > ({ "A", "B", "D" }));
	EXPECT_EQ(genotest::siteList(S.G), "100:A/G 200:C/T 300:G/A 400:T/C 500:A/C 600:A/T");
	EXPECT_EQ(genotest::genotypes(S.G, 0), "00 .. 11 11 .. 11");
	EXPECT_EQ(genotest::genotypes(S.G, 1), "01 .. 11 00 .. 11");
	EXPECT_EQ(genotest::genotypes(S.G, 2), "11 .. 11 .. 01 11");
}

}

TEST(bed_reader, BothOrdersFiltersAndMessages) {
	TempDir d;
	d.write("p.bim", bim);
	d.write("p.fam", fam);
	d.write("sm.bed", bedSM);
	d.write("im.bed", bedIM);
	{
		Store S(true);
		genotest::logTo(d);
		readBed(S, d, "sm.bed");
		std::string log = genotest::loggedText(d);
		expectBedStore(S);
		EXPECT_EQ(S.G.sample_header1, "ID_1 ID_2 missing father mother sex plink_pheno");
		EXPECT_EQ(S.G.sample_header2, "0 0 0 D D D B");
		EXPECT_EQ(S.G.ind_fields[1], std::vector < std::string > ({ "F", "0", "s1", "0", "2", "-9" }));
		EXPECT_EQ(S.G.ind_male, std::vector < bool > ({ true, false, true, false }));
		EXPECT_EQ(S.G.ind_father, std::vector < int > ({ -1, 0, -1, -1 }));
		EXPECT_EQ(S.G.ind_mother, std::vector < int > ({ -1, -1, -1, -1 }));	// s3 is excluded
		EXPECT_EQ(S.G.sites->getByIndex(1)->id, "rs3");
		EXPECT_EQ(S.G.sites->getByIndex(1)->source, 2);
		EXPECT_TRUE(contains(log,
			"\nReading site list in [" + d.file("p.bim") + "]\n"
			"  * 3 sites included\n"
			"  * 1 sites excluded\n"
			"\nReading sample list in [" + d.file("p.fam") + "]\n"
			"  * 4 samples included\n"
			"  * 1 samples excluded\n"
			"  * 2 males / 2 females\n"
			"  * 2 unrelateds / 1 duos / 0 trios in 3 different families\n"
			"\nReading genotypes in [" + d.file("sm.bed") + "]\n"
			"  * Plink binary file SNP-major mode\n")) << log;
	}
	{
		Store S;
		genotest::logTo(d);
		readBed(S, d, "im.bed");
		std::string log = genotest::loggedText(d);
		expectBedStore(S);
		EXPECT_TRUE(contains(log, "  * Plink binary file individual-major mode\n")) << log;
		EXPECT_FALSE(contains(log, "males"));
	}
	{
		// Only bit 0 of the mode byte counts; a compressed BED is read alike.
		std::string sm = bedSM;
		sm[2] = (char)0xFD;
		testutils::writeCompressed(d.file("sm.bed.gz"), sm);
		Store S;
		testutils::silenceLog();
		readBed(S, d, "sm.bed.gz");
		expectBedStore(S);
	}
}

TEST(bed_reader, FormatFaults) {
	TempDir d;
	testutils::silenceLog();
	d.write("p.bim", bim);
	d.write("p.fam", fam);
	Store S;
	d.write("magic.bed", bytes({ 0x6C, 0x1C, 0x01 }) + bedSM.substr(3));
	EXPECT_LOG_ERROR(readBed(S, d, "magic.bed"), "Binary file format unsupported");
	d.write("empty.bed", "");
	EXPECT_LOG_ERROR(readBed(S, d, "empty.bed"), "Binary file format unsupported");
	d.write("short_sm.bed", bedSM.substr(0, bedSM.size() - 1));
	EXPECT_LOG_ERROR(readBed(S, d, "short_sm.bed"), "Binary file SM corrupted");
	d.write("short_im.bed", bedIM.substr(0, bedIM.size() - 1));
	EXPECT_LOG_ERROR(readBed(S, d, "short_im.bed"), "Binary file IM corrupted");
	d.write("long.bed", bedSM + bytes({ 0 }));
	EXPECT_LOG_ERROR(readBed(S, d, "long.bed"), "Binary file corrupted : terminating bits");
	d.write("sm.bed", bedSM);
	// A FAM file with lines too many makes the BED file too short.
	d.write("p.fam", fam + "F s6 0 0 1 -9\nF s7 0 0 1 -9\nF s8 0 0 1 -9\nF s9 0 0 1 -9\n");
	EXPECT_LOG_ERROR(readBed(S, d, "sm.bed"), "Binary file SM corrupted");
	d.write("p.fam", fam + "F s6 0 0 1\n");
	EXPECT_LOG_ERROR(readBed(S, d, "sm.bed"), "Line=6 found=5 fields expected=6");
	d.write("p.fam", fam);
	d.write("p.bim", "1 rs1 0 100 A\n");
	EXPECT_LOG_ERROR(readBed(S, d, "sm.bed"), "Line=1 found=5 fields expected=6");
}

TEST(vcf_reader, GenotypeFieldsFormatAndMessages) {
	TempDir d;
	d.write("v.vcf", vcf);
	Store S;
	genotest::logTo(d);
	readVcf(S, d.file("v.vcf"));
	std::string log = genotest::loggedText(d);
	expectVcfStore(S);
	EXPECT_EQ(S.G.sample_header1, "ID_1 ID_2 missing");
	EXPECT_EQ(S.G.sample_header2, "0 0 0");
	EXPECT_EQ(S.G.ind_fields[1], std::vector < std::string > ({ "B", "0" }));
	EXPECT_EQ(S.G.ind_male, std::vector < bool > ({ false, false, false }));
	EXPECT_EQ(S.G.ind_family, std::vector < int > ({ 0, 1, 2 }));
	snp * s = S.G.sites->getByIndex(0);
	EXPECT_EQ(s->id, "rs1");
	EXPECT_EQ(s->source, 5);
	EXPECT_EQ(s->properties, std::vector < std::string > ({ "50", "PASS", "DP=10" }));
	EXPECT_EQ(S.G.sites->getByIndex(1)->properties, std::vector < std::string > ({ ".", "q10", "." }));
	EXPECT_EQ(S.G.sites->getByIndex(2)->id, ".");
	EXPECT_TRUE(contains(log,
		"\nReading unphased data in [" + d.file("v.vcf") + "]\n"
		"  * 3 samples included\n"
		"  * 1 samples excluded\n"
		"  * 3 unrelateds / 0 duos / 0 trios in 3 different families\n"
		"  * 6 SNPs included\n"
		"  * 1 SNPs excluded\n")) << log;
}

TEST(vcf_reader, CompressedMultiMemberAndTruncatedFiles) {
	TempDir d;
	testutils::silenceLog();
	testutils::writeCompressed(d.file("v.vcf.gz"), vcf);
	testutils::writeCompressed(d.file("v.vcf.bz2"), vcf);
	// bgzip writes a series of gzip members; cut the file inside a data line.
	size_t cut = vcf.find("1\t300");
	testutils::writeCompressed(d.file("part1.gz"), vcf.substr(0, cut + 4));
	testutils::writeCompressed(d.file("part2.gz"), vcf.substr(cut + 4));
	d.write("bgzip.vcf.gz", d.read("part1.gz") + d.read("part2.gz"));
	for (std::string name : { "v.vcf.gz", "v.vcf.bz2", "bgzip.vcf.gz" }) {
		Store S;
		readVcf(S, d.file(name));
		SCOPED_TRACE(name);
		expectVcfStore(S);
	}

	// A truncated compressed file is not taken for a complete one.
	std::string big = vcf.substr(0, vcf.find("1\t100"));
	putils::initRandom(11);
	for (int l = 0 ; l < 2000 ; l ++) {
		big += "1\t" + std::to_string(1000 + l) + "\t.\tA\tC\t.\t.\t.\tGT";
		for (int i = 0 ; i < 4 ; i ++) big += putils::getRandom() < 0.5 ? "\t0/1" : "\t1/1";
		big += "\n";
	}
	testutils::writeCompressed(d.file("big.vcf.gz"), big);
	std::string whole = d.read("big.vcf.gz");
	d.write("half.vcf.gz", whole.substr(0, whole.size() / 2));
	d.write("notrailer.vcf.gz", whole.substr(0, whole.size() - 4));
	for (std::string name : { "half.vcf.gz", "notrailer.vcf.gz" }) {
		Store S;
		EXPECT_THROW(S.G.readGenotypeVcf(d.file(name)), std::ios_base::failure) << name;
	}
	Store S;
	S.G.readGenotypeVcf(d.file("big.vcf.gz"));
	EXPECT_EQ(S.G.sites->size(), 2000);
}

TEST(vcf_reader, FormatFaults) {
	TempDir d;
	testutils::silenceLog();
	const std::string head = "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\tA\tB\n";
	Store S;
	S.F.snp_exclude[100] = true;
	d.write("multi.vcf", head + "1\t100\t.\tA\tG,T\t.\t.\t.\tGT\t0/0\t0/1\n1\t200\t.\tA\tG,T\t.\t.\t.\tGT\t0/0\t0/1\n");
	EXPECT_LOG_ERROR(S.G.readGenotypeVcf(d.file("multi.vcf")), "Site pos=200 alt=G,T is not bi-allelic!");
	// The data line count behind idx includes the excluded site.
	d.write("nogt.vcf", head + "1\t100\t.\tA\tG\t.\t.\t.\tDP\t1\t1\n1\t200\t.\tA\tG\t.\t.\t.\tDP:GQ\t1:1\t1:1\n");
	EXPECT_LOG_ERROR(S.G.readGenotypeVcf(d.file("nogt.vcf")), "No GT found at site idx=1 pos=200");
	d.write("sitesonly.vcf", "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\n1\t200\t.\tA\tG\t.\t.\t.\n");
	EXPECT_LOG_ERROR(S.G.readGenotypeVcf(d.file("sitesonly.vcf")), "No GT found at site idx=0 pos=200");
	d.write("columns.vcf", head + "1\t200\t.\tA\tG\t.\t.\t.\tGT\t0/0\n");
	EXPECT_LOG_ERROR(S.G.readGenotypeVcf(d.file("columns.vcf")), "Line=2 found=10 fields, expected=11");
	d.write("stub.vcf", head + "1\t200\t.\tA\n");
	EXPECT_LOG_ERROR(S.G.readGenotypeVcf(d.file("stub.vcf")), "Line=2 found=4 fields, expected=11");
	d.write("order.vcf", head + "1\t300\t.\tA\tG\t.\t.\t.\tGT\t0/0\t0/1\n1\t200\t.\tA\tG\t.\t.\t.\tGT\t0/0\t0/1\n");
	EXPECT_LOG_ERROR(S.G.readGenotypeVcf(d.file("order.vcf")), "Wrong ordering in physical positions curr_pos=200 prev_pos=300");
	d.write("late.vcf", head + "1\t200\t.\tA\tG\t.\t.\t.\tGT\t0/0\t0/1\n" + head);
	EXPECT_LOG_ERROR(S.G.readGenotypeVcf(d.file("late.vcf")), "Line=3 sample header found after the first data line");

	// A file without data lines, and one without any line, give empty stores.
	d.write("header.vcf", head);
	S.G.readGenotypeVcf(d.file("header.vcf"));
	EXPECT_EQ(S.G.ind_id.size(), 2u);
	EXPECT_EQ(S.G.sites->size(), 0);
	Store E;
	d.write("empty.vcf", "");
	E.G.readGenotypeVcf(d.file("empty.vcf"));
	EXPECT_TRUE(E.G.ind_id.empty());
}

// One cohort of four samples and five sites written in the four formats. Genotypes:
// 0 hom REF, 1 het, 2 hom ALT, -1 missing. The first observed allele of every site is
// REF, so that the PED reader, which takes allele order from the data, agrees.
TEST(genotype_formats, SameCohortSameStore) {
	TempDir d;
	testutils::silenceLog();
	std::vector < std::string > ids = { "i1", "i2", "i3", "i4" };
	std::vector < int > pos = { 100, 200, 300, 400, 500 };
	std::vector < std::string > ref = { "A", "C", "G", "T", "A" }, alt = { "G", "T", "A", "C", "C" };
	std::vector < std::vector < int > > g = { { 0, 1, 2, -1 }, { 1, 1, 0, 2 }, { -1, 1, 2, 0 }, { 1, 0, -1, 2 }, { 0, 0, 1, 1 } };

	std::string vcfText = "##fileformat=VCFv4.2\n#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT";
	for (auto & id : ids) vcfText += "\t" + id;
	vcfText += "\n";
	std::string gen, sample = "ID_1 ID_2 missing\n0 0 0\n", map, bimText, famText, ped;
	std::string bed = bytes({ 0x6C, 0x1B, 0x01 });
	for (size_t l = 0 ; l < pos.size() ; l ++) {
		std::string p = std::to_string(pos[l]);
		vcfText += "1\t" + p + "\tr" + p + "\t" + ref[l] + "\t" + alt[l] + "\t.\t.\t.\tGT";
		gen += "1 r" + p + " " + p + " " + ref[l] + " " + alt[l];
		map += "1 r" + p + " 0 " + p + "\n";
		bimText += "1 r" + p + " 0 " + p + " " + ref[l] + " " + alt[l] + "\n";
		int byte = 0;
		for (size_t i = 0 ; i < ids.size() ; i ++) {
			int x = g[l][i];
			vcfText += x < 0 ? "\t./." : x == 0 ? "\t0/0" : x == 1 ? "\t1|0" : "\t1/1";
			gen += x < 0 ? " 0 0 0" : x == 0 ? " 1 0 0" : x == 1 ? " 0 1 0" : " 0 0 1";
			byte |= (x < 0 ? 1 : x == 0 ? 0 : x == 1 ? 2 : 3) << (2 * i);
		}
		vcfText += "\n";
		gen += "\n";
		bed.push_back((char)byte);
	}
	std::vector < bool > seen(pos.size(), false);
	for (size_t i = 0 ; i < ids.size() ; i ++) {
		sample += "f " + ids[i] + " 0\n";
		famText += "f " + ids[i] + " 0 0 2 -9\n";
		ped += "f " + ids[i] + " 0 0 2 -9";
		for (size_t l = 0 ; l < pos.size() ; l ++) {
			int x = g[l][i];
			// Heterozygotes are written ALT first once the site's REF has been seen.
			ped += x < 0 ? " 0 0" : x == 0 ? " " + ref[l] + " " + ref[l] : x == 2 ? " " + alt[l] + " " + alt[l] : seen[l] ? " " + alt[l] + " " + ref[l] : " " + ref[l] + " " + alt[l];
			if (x >= 0) seen[l] = true;
		}
		ped += "\n";
	}
	testutils::writeCompressed(d.file("c.vcf.gz"), vcfText);
	d.write("c.gen", gen);
	d.write("c.sample", sample);
	d.write("c.map", map);
	d.write("c.ped", ped);
	d.write("c.bim", bimText);
	d.write("c.fam", famText);
	d.write("c.bed", bed);

	Store V, G, P, B;
	V.G.readGenotypeVcf(d.file("c.vcf.gz"));
	G.G.readGenotypeImpute(d.file("c.gen"), d.file("c.sample"), 0.9, false);
	P.G.readGenotypePed(d.file("c.ped"), d.file("c.map"), "0");
	B.G.readGenotypeBed(d.file("c.bed"), d.file("c.bim"), d.file("c.fam"));

	EXPECT_EQ(genotest::siteList(V.G), "100:A/G 200:C/T 300:G/A 400:T/C 500:A/C");
	EXPECT_EQ(genotest::genotypes(V.G, 1), "01 01 01 00 00");
	EXPECT_EQ(genotest::genotypes(P.G, 1), "10 10 01 00 00");	// PED keeps the column order
	for (Store * X : { &G, &P, &B }) {
		EXPECT_EQ(X->G.ind_id, V.G.ind_id);
		EXPECT_EQ(genotest::siteList(X->G), genotest::siteList(V.G));
		for (size_t i = 0 ; i < ids.size() ; i ++) EXPECT_EQ(genotest::genotypes(X->G, i, true), genotest::genotypes(V.G, i, true)) << ids[i];
	}
}
