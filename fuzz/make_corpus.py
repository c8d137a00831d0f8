#!/usr/bin/env python3
"""Writes the seed corpus of the fuzzing targets: small cuts of the example data (the
first 12 samples, with a duo, and 10 of their polymorphic sites) in every input format,
one file per target with the reader's files separated by lines "--8<--".

Usage: fuzz/make_corpus.py SORVANE_BINARY   (the binary writes the graph file seed)
"""
import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
EXAMPLE = os.path.join(HERE, "..", "example")
CORPUS = os.path.join(HERE, "corpus")
N_SAMPLES, N_SITES = 12, 10
SEP = "\n--8<--\n"


def lines(name):
    with open(os.path.join(EXAMPLE, name)) as f:
        return [l.rstrip("\n") for l in f]


def pick_sites(vcf_body):
    """Indices of the first sites with both alleles among the chosen samples."""
    picked = []
    for i, l in enumerate(vcf_body):
        gts = "".join(l.split("\t")[9:9 + N_SAMPLES])
        if "0" in gts and "1" in gts:
            picked.append(i)
        if len(picked) == N_SITES:
            return picked
    return picked


def bed_bytes(ped, bim):
    """PLINK BED in site-major order: two bits a sample, 00 and 11 homozygous for the first
    and second BIM allele, 10 heterozygous, 01 missing."""
    out = bytearray([0x6C, 0x1B, 0x01])
    for j, site in enumerate(bim):
        a1, a2 = site.split()[4:6]
        codes = []
        for row in ped:
            g = row.split()[6 + 2 * j:8 + 2 * j]
            if "0" in g:
                codes.append(1)
            elif g[0] == g[1]:
                codes.append(0 if g[0] == a1 else 3)
            else:
                codes.append(2)
        for k in range(0, len(codes), 4):
            b = 0
            for s, c in enumerate(codes[k:k + 4]):
                b |= c << (2 * s)
            out.append(b)
    return bytes(out)


def write(target, name, parts):
    folder = os.path.join(CORPUS, target)
    os.makedirs(folder, exist_ok=True)
    data = SEP.encode().join(p if isinstance(p, bytes) else p.encode() for p in parts)
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


def text(rows):
    return "\n".join(rows) + "\n"


def pir_text(body, haps, keep):
    """A PIR file over the picked sites: for each of the first three samples, three reads
    over three sites in a row, each read from one of its true haplotypes, quality 30."""
    rows = ["MAP %d" % len(keep)]
    for i in keep:
        f = body[i].split("\t")
        rows.append("%s %s %s" % (f[1], f[3], f[4]))
    for s in range(3):
        rows.append("IND%04d 3" % (s + 1))
        for k in range(3):
            triples = []
            for m in range(k, k + 3):
                f = body[keep[m]].split("\t")
                allele = haps[keep[m]].split()[5 + 2 * s + k % 2]
                triples.append("%d %s 30" % (m, f[4] if allele == "1" else f[3]))
            rows.append(" ".join(triples))
    return text(rows)


def main():
    vcf = lines("cohort.vcf")
    head = [l for l in vcf if l.startswith("##")]
    columns = [l for l in vcf if l.startswith("#CHROM")][0].split("\t")
    body = [l for l in vcf if not l.startswith("#")]
    keep = pick_sites(body)
    cols = list(range(9 + N_SAMPLES))
    vcf_rows = ["\t".join(columns[c] for c in cols)] + ["\t".join(body[i].split("\t")[c] for c in cols) for i in keep]
    small_vcf = text([l for l in head if l.startswith("##fileformat") or l.startswith("##contig")] + vcf_rows)
    write("vcf", "cohort", [small_vcf])
    write("vcf", "missing", [small_vcf.replace("0/1", "./.", 3).replace("1/1", "1|1", 2)])

    gen = lines("cohort.gen")
    sample = lines("cohort.sample")
    gen_rows = [" ".join(gen[i].split()[:5 + 3 * N_SAMPLES]) for i in keep]
    write("gen", "cohort", [text(gen_rows), text(sample[:2 + N_SAMPLES])])

    ped = [" ".join(r.split()[:6] + sum(([r.split()[6 + 2 * i], r.split()[7 + 2 * i]] for i in keep), [])) for r in lines("cohort.ped")[:N_SAMPLES]]
    mp = [lines("cohort.map")[i] for i in keep]
    sex = lines("cohort.sex")[:N_SAMPLES]
    write("ped", "cohort", [text(ped), text(mp), text(sex)])

    bim = [lines("cohort.bim")[i] for i in keep]
    fam = lines("cohort.fam")[:N_SAMPLES]
    write("bed", "cohort", [bed_bytes(ped, bim), text(bim), text(fam)])

    legend = lines("reference.legend")
    haplotypes = lines("reference.haplotypes")
    samples = lines("reference.samples")
    write("panel", "reference", [small_vcf, text([" ".join(haplotypes[i].split()[:12]) for i in keep]),
                                 text(legend[:1] + [legend[i + 1] for i in keep]), text(samples[:7])])

    haps = lines("truth.haps")
    write("haps", "truth", [text([" ".join(haps[i].split()[:5 + 2 * N_SAMPLES]) for i in keep]),
                            text(lines("truth.sample")[:2 + N_SAMPLES])])

    positions = [body[i].split("\t")[1] for i in keep]
    write("pir", "reads", [small_vcf, pir_text(body, haps, keep)])
    gmap = lines("genetic_map.txt")
    sets = ["W1 " + " ".join(positions[:4]), "W2 " + " ".join(positions[3:8])]
    write("map", "example", [small_vcf, text(gmap[:12]), text(sets)])

    write("lists", "positions", [text(positions[:5])])
    write("lists", "samples", [text([r.split()[1] + " POP1 GRP1" for r in fam[:5]])])
    write("lists", "bams", [text(["sample%d.bam IND%04d 1" % (i, i) for i in range(1, 4)])])

    with tempfile.TemporaryDirectory() as tmp:
        vcf_file = os.path.join(tmp, "small.vcf")
        with open(vcf_file, "w") as f:
            f.write(small_vcf)
        graph = os.path.join(tmp, "small.graph")
        subprocess.run([sys.argv[1], "--input-vcf", vcf_file, "--seed", "1", "--burn", "1", "--prune", "1",
                        "--main", "1", "--output-max", os.path.join(tmp, "out"), "--output-graph", graph,
                        "-L", os.path.join(tmp, "out")], check=True, stdout=subprocess.DEVNULL)
        with open(graph, "rb") as f:
            write("graph", "small", [f.read()])


if __name__ == "__main__":
    main()
