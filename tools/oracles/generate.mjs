// Writes the reference vectors in tests/data from independent npm packages.
//
//   tests/data/cpf_cnpj.jsonl        valid CPFs/CNPJs and every one-digit
//                                    corruption of each, with each validator's
//                                    raw answer
//   tests/data/currency_words.jsonl  amounts with two decimals and the raw text
//                                    of two "amount in words" packages
//
// Deterministic: a seeded PRNG and fixed counts, so running it twice writes
// the same bytes. Run through ./regenerate, which installs the pinned packages
// first.

import { writeFileSync, mkdirSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import * as fnandoCpf from '@fnando/cpf';
import * as fnandoCnpj from '@fnando/cnpj';
import { cpf as ccvCpf, cnpj as ccvCnpj } from 'cpf-cnpj-validator';
import extenso from 'extenso';
import numeroPorExtenso from 'numero-por-extenso';

const here = dirname(fileURLToPath(import.meta.url));
const dataDir = join(here, '..', '..', 'tests', 'data');

// mulberry32: small, fast and the same on every Node version.
function makeRng(seed) {
    let a = seed >>> 0;
    return () => {
        a = (a + 0x6d2b79f5) >>> 0;
        let t = a;
        t = Math.imul(t ^ (t >>> 15), t | 1);
        t ^= t + Math.imul(t ^ (t >>> 7), t | 61);
        return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
    };
}
const rng = makeRng(0x4b454c56); // "KELV"
const randInt = (lo, hi) => lo + Math.floor(rng() * (hi - lo + 1)); // inclusive
const randDigits = (n) => Array.from({ length: n }, () => String(randInt(0, 9))).join('');

// ---------------------------------------------------------------- documents

// Mod-11 check digit over `digits` with the given weights.
function checkDigit(digits, weights) {
    let sum = 0;
    for (let i = 0; i < weights.length; i++) sum += Number(digits[i]) * weights[i];
    const r = sum % 11;
    return r < 2 ? 0 : 11 - r;
}
const CPF_W1 = [10, 9, 8, 7, 6, 5, 4, 3, 2];
const CPF_W2 = [11, 10, 9, 8, 7, 6, 5, 4, 3, 2];
const CNPJ_W1 = [5, 4, 3, 2, 9, 8, 7, 6, 5, 4, 3, 2];
const CNPJ_W2 = [6, 5, 4, 3, 2, 9, 8, 7, 6, 5, 4, 3, 2];

function completeCpf(base9) {
    const d1 = checkDigit(base9, CPF_W1);
    const d2 = checkDigit(base9 + d1, CPF_W2);
    return `${base9}${d1}${d2}`;
}
function completeCnpj(base12) {
    const d1 = checkDigit(base12, CNPJ_W1);
    const d2 = checkDigit(base12 + d1, CNPJ_W2);
    return `${base12}${d1}${d2}`;
}

const allSame = (s) => /^(\d)\1*$/.test(s);

const validators = {
    cpf: {
        '@fnando/cpf': (d) => fnandoCpf.isValid(d, true),
        'cpf-cnpj-validator': (d) => ccvCpf.isValid(d),
    },
    cnpj: {
        '@fnando/cnpj': (d) => fnandoCnpj.isValid(d, true),
        'cpf-cnpj-validator': (d) => ccvCnpj.isValid(d),
    },
};

function docLine(doc, kind) {
    const oracles = {};
    for (const [name, fn] of Object.entries(validators[kind])) {
        const answer = fn(doc);
        if (typeof answer !== 'boolean') throw new Error(`${name} gave ${answer} for ${doc}`);
        oracles[name] = answer;
    }
    return JSON.stringify({ doc, kind, oracles });
}

// A valid number, then every number one digit away from it.
function withCorruptions(valid) {
    const out = [valid];
    for (let pos = 0; pos < valid.length; pos++) {
        for (let d = 0; d <= 9; d++) {
            const c = String(d);
            if (c === valid[pos]) continue;
            out.push(valid.slice(0, pos) + c + valid.slice(pos + 1));
        }
    }
    return out;
}

const CPF_COUNT = 50;   // x 100 lines each
const CNPJ_COUNT = 50;  // x 127 lines each

function documentLines() {
    // A few well-known numbers first (one of them is on some validators'
    // blacklists), then random ones.
    const cpfs = ['11144477735', '12345678909'];
    while (cpfs.length < CPF_COUNT) {
        const c = completeCpf(randDigits(9));
        if (!allSame(c) && !cpfs.includes(c)) cpfs.push(c);
    }
    // Random CNPJs: half with the usual head-office branch "0001".
    const cnpjs = ['11444777000161'];
    while (cnpjs.length < CNPJ_COUNT) {
        const base = rng() < 0.5 ? randDigits(8) + '0001' : randDigits(12);
        const c = completeCnpj(base);
        if (!allSame(c) && !cnpjs.includes(c)) cnpjs.push(c);
    }

    const seen = new Set();
    const lines = [];
    for (const [kind, list] of [['cpf', cpfs], ['cnpj', cnpjs]]) {
        for (const valid of list) {
            for (const doc of withCorruptions(valid)) {
                if (allSame(doc) || seen.has(doc)) continue;
                seen.add(doc);
                lines.push(docLine(doc, kind));
            }
        }
    }
    return lines;
}

// ------------------------------------------------------------------ amounts

const MAX_CENTS = 999999999999n; // 9999999999.99

const centsText = (cents) => {
    const s = cents.toString().padStart(3, '0');
    return `${s.slice(0, -2)}.${s.slice(-2)}`;
};

function amountLine(text) {
    const oracles = {
        // The package accepts the amount as text, which keeps binary
        // floating point out of its answer.
        'numero-por-extenso': numeroPorExtenso.porExtenso(text, numeroPorExtenso.estilo.monetario),
        'extenso': extenso(text, { mode: 'currency', currency: { code: 'BRL' } }),
    };
    for (const [name, words] of Object.entries(oracles)) {
        if (typeof words !== 'string' || words.length === 0)
            throw new Error(`${name} gave ${JSON.stringify(words)} for ${text}`);
    }
    return JSON.stringify({ amount: text, oracles });
}

function amountLines() {
    const cents = []; // BigInt amounts in cents
    const add = (c) => {
        c = BigInt(c);
        if (c > 0n && c <= MAX_CENTS) cents.push(c);
    };
    const addReais = (r, c = 0) => add(BigInt(r) * 100n + BigInt(c));

    // Every cent-only amount.
    for (let c = 1; c <= 99; c++) add(c);
    // Every whole amount up to 120 (units, teens, tens, cem/cento).
    for (let r = 1; r <= 120; r++) addReais(r);
    // One real with assorted cents.
    for (const c of [1, 2, 10, 11, 15, 19, 20, 21, 50, 99]) addReais(1, c);
    // Round hundreds and hundreds plus one, ten, eleven.
    for (let h = 1; h <= 9; h++) for (const u of [0, 1, 10, 11, 20, 99]) addReais(h * 100 + u);
    // Round multiples of every scale, and the same plus one.
    for (const scale of [1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9]) {
        for (let k = 1; k <= 9; k++) {
            addReais(BigInt(k) * BigInt(scale));
            addReais(BigInt(k) * BigInt(scale) + 1n);
        }
    }
    // Hand-picked group boundaries.
    for (const r of [
        1000, 1001, 1010, 1011, 1100, 1101, 1999, 2000, 2001, 10001, 11000, 11001, 21000, 21001,
        100000, 100001, 101000, 110000, 111000, 999999, 1000000, 1000001, 1001000, 1001001,
        1100000, 2000000, 2000001, 2001000, 10000000, 11000000, 12000000, 21000000, 31000000,
        91000000, 100000000, 101000000, 110000000, 111000000, 121000000, 999000000, 999999999,
        1000000000, 1000000001, 1000001000, 1001000000, 1001001001, 1011000000, 1021000000,
        2000000000, 2001000000, 9000000000, 9999999999,
    ]) {
        addReais(r);
        addReais(r, 50);
    }
    add(MAX_CENTS);

    // Random amounts, log-uniform over the whole range: a fixed count per
    // order of magnitude of the reais. Cents are mostly zero or quarters so
    // that large amounts keep a cents part a double holds exactly.
    const PER_DECADE = 300;
    for (let d = 0; d <= 9; d++) {
        const lo = d === 0 ? 1 : 10 ** d;
        const hi = 10 ** (d + 1) - 1;
        for (let i = 0; i < PER_DECADE; i++) {
            const r = BigInt(randInt(lo, hi));
            let c;
            const pick = rng();
            if (d === 0) c = randInt(0, 99);
            else if (pick < 0.5) c = 0;
            else if (pick < 0.85) c = [25, 50, 75][randInt(0, 2)];
            else c = randInt(1, 99);
            addReais(r, c);
        }
    }

    // Sparse amounts: each three-digit group is often zero, which exercises
    // the joins between groups.
    const group = () => (rng() < 0.45 ? 0 : rng() < 0.3 ? randInt(1, 9) : randInt(1, 999));
    for (let i = 0; i < 500; i++) {
        const r = BigInt(randInt(0, 9)) * 1000000000n + BigInt(group()) * 1000000n +
                  BigInt(group()) * 1000n + BigInt(group());
        const c = rng() < 0.7 ? 0 : [25, 50, 75][randInt(0, 2)];
        addReais(r, c);
    }

    const unique = [...new Set(cents)].sort((a, b) => (a < b ? -1 : a > b ? 1 : 0));
    return unique.map((c) => amountLine(centsText(c)));
}

// -------------------------------------------------------------------- write

function write(name, lines) {
    mkdirSync(dataDir, { recursive: true });
    const path = join(dataDir, name);
    writeFileSync(path, lines.join('\n') + '\n');
    console.log(`${path}: ${lines.length} lines`);
}

write('cpf_cnpj.jsonl', documentLines());
write('currency_words.jsonl', amountLines());
