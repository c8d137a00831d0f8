#include "test_utils.h"

#include <map>

using namespace testutils;

namespace {

RunResult runReadmine(const std::string & args, const std::string & dir) {
	return runCommand(std::string(READMINE_BIN) + " " + args, dir);
}

// Sites 100 to 450: S1 is heterozygous at 100, 150, 160 (an indel, never observed) and 170,
// homozygous at 200, missing at 450; S2 is heterozygous everywhere.
const std::string VCF =
	"##fileformat=VCFv4.2\n"
	"#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\tS1\tS2\n"
	"20\t100\t.\tA\tG\t.\tPASS\t.\tGT\t0/1\t0/1\n"
	"20\t150\t.\tC\tT\t.\tPASS\t.\tGT\t0|1\t0/1\n"
	"20\t160\t.\tA\tAT\t.\tPASS\t.\tGT\t0/1\t0/1\n"
	"20\t170\t.\tG\tC\t.\tPASS\t.\tGT\t1/0\t0/1\n"
	"20\t200\t.\tT\tA\t.\tPASS\t.\tGT\t0/0\t0/1\n"
	"20\t400\t.\tA\tC\t.\tPASS\t.\tGT\t0/1\t0/1\n"
	"20\t450\t.\tG\tT\t.\tPASS\t.\tGT\t./.\t0/1\n";

// A SAM record of n bases, all A of quality 30 but the given bases and qualities (read offsets).
std::string record(const std::string & name, int flag, int pos, int mapq, const std::string & cigar, int n,
		const std::map < int, char > & bases, const std::map < int, char > & quals = {}, int mate = 0) {
	std::string seq(n, 'A'), qual(n, '?');
	for (const auto & b : bases) seq[b.first] = b.second;
	for (const auto & q : quals) qual[q.first] = q.second;
	return name + "\t" + std::to_string(flag) + "\t20\t" + std::to_string(pos) + "\t" + std::to_string(mapq) + "\t" + cigar
		+ "\t" + (mate ? "=" : "*") + "\t" + std::to_string(mate) + "\t0\t" + seq + "\t" + qual + "\n";
}

std::string handSam() {
	return "@HD\tVN:1.6\tSO:unsorted\n@SQ\tSN:20\tLN:1000\n"
		// A pair: 100 on the first mate, 150 and 170 on the second.
		+ record("p1", 99, 91, 60, "50M", 50, { { 9, 'G' } }, {}, 141)
		+ record("p1", 147, 141, 60, "50M", 50, { { 9, 'T' }, { 29, 'C' } }, {}, 91)
		// Only 400 (450 not covered): one site, not written.
		+ record("r2", 0, 380, 60, "50M", 50, { { 20, 'C' } })
		// Mapping quality 10: left out, but for a file of minimum mapping quality 5.
		+ record("r3", 0, 95, 10, "70M", 70, { { 5, 'A' }, { 55, 'C' } })
		// The base at 150 has quality 5: the read keeps 100 and 170.
		+ record("r4", 0, 95, 60, "80M", 80, { { 5, 'A' }, { 55, 'C' }, { 75, 'G' } }, { { 55, '&' } })
		// Mates overlapping at 150 and 170: the base of higher quality stays at each.
		+ record("r5", 99, 140, 60, "40M", 40, { { 10, 'C' }, { 30, 'G' } }, { { 10, '5' } }, 145)
		+ record("r5", 147, 145, 60, "40M", 40, { { 5, 'T' }, { 25, 'G' } }, { { 5, 'D' }, { 25, ':' } }, 140)
		// 170 shows a base of neither allele: the read keeps 100 and 150.
		+ record("r6", 0, 95, 60, "80M", 80, { { 5, 'G' }, { 55, 'T' }, { 75, 'A' } })
		// Clip, insertion and deletion: 150 at read offset 14, 170 at 31.
		+ record("r7", 0, 141, 60, "3S5M2I10M3D30M", 50, { { 14, 'C' }, { 31, 'C' } })
		// Secondary and duplicate alignments are left out.
		+ record("r8", 256, 95, 60, "80M", 80, { { 5, 'G' }, { 55, 'T' } })
		+ record("r9", 1024, 95, 60, "80M", 80, { { 5, 'G' }, { 55, 'T' } })
		// 170 and 200: S1 is homozygous at 200.
		+ record("r10", 0, 165, 60, "40M", 40, { { 5, 'G' }, { 35, 'A' } });
}

const std::string MAP = "MAP 7\n100 A G\n150 C T\n160 A AT\n170 G C\n200 T A\n400 A C\n450 G T\n";

const std::string EXPECTED_S1 = "S1 5\n0 G 30 1 T 30\n0 G 30 1 T 30 3 C 30\n0 A 30 3 G 30\n1 C 30 3 C 30\n1 T 35 3 G 30\n";
const std::string EXPECTED_S2 = "S2 7\n0 A 30 1 C 30\n0 G 30 1 T 30\n0 G 30 1 T 30 3 C 30\n0 A 30 3 G 30\n1 C 30 3 C 30\n1 T 35 3 G 30\n3 G 30 4 A 30\n";


}

// The list's third column overrides --min-mapq; its file names are taken from its folder.
// A truncated BAM file is found only once the output is begun: it still leaves no output.
TEST(cli_readmine, HandMadeReadsAndErrors) {
	TempDir d;
	runOk("mkdir bams", d.path);
	d.write("bams/s.sam", handSam());
	d.write("sites.vcf", VCF);
	d.write("two.vcf", VCF + "21\t100\t.\tA\tG\t.\tPASS\t.\tGT\t0/1\t0/1\n");
	runOk("samtools sort --no-PG -o bams/s.bam bams/s.sam && samtools index bams/s.bam", d.path);
	d.write("bams/list.txt", "S1 s.bam -1\nS2 s.bam 5\n");
	RunResult o = runReadmine("--bam-list bams/list.txt --vcf sites.vcf --output out.pir.gz", d.path);
	ASSERT_TRUE(succeeded(o));
	EXPECT_EQ(readCompressed(d.file("out.pir.gz")), MAP + EXPECTED_S1 + EXPECTED_S2);
	EXPECT_TRUE(has(o.err, "readmine: [bams/s.bam] of S1: 9 reads used, 5 phase informative")) << o.err;
	// The same reads as CRAM, and as a BAM whose header does not tell its order.
	d.write("ref.fa", ">20\n" + std::string(1000, 'A') + "\n");
	runOk("samtools view --no-PG -C -T ref.fa -o bams/s.cram bams/s.bam && samtools index bams/s.cram && samtools view --no-PG -h bams/s.bam | grep -v '^@HD'"
		" | samtools view --no-PG -b -o bams/noso.bam && samtools index bams/noso.bam", d.path);
	for (std::string bam : { "s.cram", "noso.bam" }) {
		d.write("bams/one.txt", "S1 " + bam + " -1\n");
		ASSERT_TRUE(succeeded(runReadmine("--bam-list bams/one.txt --vcf sites.vcf --reference ref.fa --output one.pir", d.path)));
		EXPECT_EQ(d.read("one.pir"), MAP + EXPECTED_S1) << bam;
	}
	ASSERT_TRUE(succeeded(runReadmine("--bam-list bams/list.txt --vcf two.vcf --output region.pir --region 20:150-170", d.path)));
	EXPECT_EQ(d.read("region.pir"), "MAP 3\n150 C T\n160 A AT\n170 G C\nS1 3\n0 C 30 2 C 30\n0 T 30 2 C 30\n0 T 35 2 G 30\n"
		"S2 3\n0 C 30 2 C 30\n0 T 30 2 C 30\n0 T 35 2 G 30\n");
	d.write("bams/garbage.bam", "not a read file\n");
	std::string many = handSam();
	for (int i = 0 ; i < 3000 ; i ++) many += record("f" + std::to_string(i), 0, 100 + i % 300, 60, "50M", 50, {});
	d.write("bams/many.sam", many);
	d.write("gone.fa", ">20\n" + std::string(1000, 'A') + "\n");
	d.write("ref.fa", ">20\n" + std::string(1000, 'C') + "\n");
	runOk("samtools view --no-PG -b -o bams/unsorted.bam bams/s.sam && samtools sort --no-PG -o bams/noindex.bam bams/s.sam && samtools sort --no-PG -o bams/cut.bam bams/many.sam"
		" && samtools index bams/cut.bam && samtools view --no-PG -C -T gone.fa -o bams/s.cram bams/s.bam && samtools index bams/s.cram && rm gone.fa*", d.path);
	d.write("bams/cut.bam", d.read("bams/cut.bam").substr(0, d.read("bams/cut.bam").size() / 2));
	// Each row's first word is the content of the BAM list, the rest options past the default --vcf.
	const std::string readmine = "f() { printf '%b\\n' \"$1\" > bams/list.txt; shift; REF_PATH=/nowhere/%s " + std::string(READMINE_BIN) + " --bam-list bams/list.txt --output out.pir --vcf \"$@\"; }; f";
	std::vector < Row > rows;
	for (const auto & c : std::vector < std::pair < std::string, std::string > > {
		{ "'S1 missing.bam -1' sites.vcf", "Impossible to open file [bams/missing.bam]" },
		{ "'S1 garbage.bam -1' sites.vcf", "[bams/garbage.bam]" },
		{ "'S1 unsorted.bam -1' sites.vcf", "File [bams/unsorted.bam] is not sorted by coordinate: sort it with samtools sort" },
		{ "'S1 noindex.bam -1' sites.vcf", "No index found for [bams/noindex.bam]: make one with samtools index bams/noindex.bam" },
		{ "'S9 s.bam -1' sites.vcf", "Sample [S9] of the BAM list [bams/list.txt] is not in the VCF [sites.vcf]" },
		{ "'S1 s.bam' sites.vcf", "Parsing line 0 : incorrect number of columns, observed: 2 expected: 3" },
		{ "'S1 s.bam abc' sites.vcf", "Minimum mapping quality [abc] at line 1 of [bams/list.txt] is not a whole number from -1 to 255" },
		{ "'S1 s.bam -1\nS2 s.bam 5\nS1 s.bam 5' sites.vcf", "File [bams/s.bam] is listed twice for sample [S1] in [bams/list.txt], lines 1 and 3" },
		{ "'S1 cut.bam -1' sites.vcf", "Truncated or corrupt file [bams/cut.bam]" },
		// Without the reference it was made with (moved away, or another one given).
		{ "'S1 s.cram -1' sites.vcf", "Reading [bams/s.cram] failed: a CRAM file is decoded with the FASTA file of the reference it was made with (--reference)" },
		{ "'S1 s.cram -1' sites.vcf --reference ref.fa", "Reading [bams/s.cram] failed" },
		{ "'S1 s.bam -1' sites.vcf --region 20:170-150", "The region [20:170-150] is not of the form CHR, CHR:FROM-TO or FROM-TO with FROM <= TO" },
		{ "'S1 s.bam -1' sites.vcf --region 20:1x", "The region [20:1x] is not of the form" },
		{ "'S1 s.bam -1' sites.vcf --region 7:150-170", "No site read from [sites.vcf] in --region, on chromosome [7]" },
		{ "'S1 s.bam -1' two.vcf", "[two.vcf] holds sites of more than one chromosome (20, then 21 at position 100): phase one chromosome at a time, choosing it with --region" },
	}) rows.push_back(Row { c.first, 1, c.second, "", "out.pir" });
	expectRows(readmine, d, rows);
	EXPECT_TRUE(testutils::refused(runReadmine("--bam-list bams/list.txt --vcf sites.vcf", d.path), "You must specify an output PIR file with option --output"));
}
