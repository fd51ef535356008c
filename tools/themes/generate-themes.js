#!/usr/bin/env node
// SPDX-License-Identifier: GPL-3.0-or-later
//
// Turns the Highlight.js 9.18.5 style sheets into the built-in theme JSON texts under
// resources/Themes (one compact file per name in resources/Themes/names.txt).
//
//   cd tools/themes && npm ci && node generate-themes.js          rewrite resources/Themes/*.json
//   node generate-themes.js --check                                 exit 1 if a committed text differs
//
// Themes with a file in tools/themes/authored/ are taken from there verbatim (after a check that
// they are compact JSON of the same shape): "default" keeps its established content, and
// "xcode-dark" has no style sheet to start from.
//
// How a style sheet becomes a theme:
// - Only plain rules count; @media blocks apply under conditions an editor never has and are
//   skipped, @import is followed (darkula.css imports darcula.css).
// - The base rule is any selector that is exactly ".hljs": its `color` gives defaultAttributes,
//   its `background-color` (or the colour inside a `background` shorthand) gives backgroundColor.
// - A token rule is a selector whose last compound is exactly ".hljs-<name>" for one of the known
//   class names and whose ancestors, if any, are only ".hljs". A theme applies to a class without
//   knowing where the span sits, so context rules such as ".hljs-class .hljs-title" or
//   ".xml .hljs-meta", and compounds such as ".hljs-link:hover", are left out: they describe
//   special cases, and letting them win would recolour every title or meta span.
// - Declarations cascade as in CSS: !important first, then specificity (number of classes), then
//   source order; color, font-weight and font-style cascade independently.
// - font-weight bold, bolder or a number of 700 and above gives "bold"; font-style italic or
//   oblique gives "italic". Fonts, sizes, underlines and backgrounds of tokens are not kept.
// - Colours go through the same CSS keyword table as the program (src/SyntaxHighlight/CSSColors.cpp;
//   keywords are matched in lower case, as CSS does), "#abc" is expanded, rgb()/rgba() and
//   "#rrggbbaa" are read; a colour with alpha below 1 is blended over the theme background (over
//   white for the background itself), which is the colour one sees. Written as "#" + six upper-case
//   hex digits. inherit, initial, unset, currentColor and transparent mean "no colour of its own".
// - A token entry is written when it has a colour or a text attribute; "addition" never is.

'use strict';

const fs = require('fs');
const path = require('path');

const root = path.resolve(__dirname, '..', '..');
const stylesDir = path.join(__dirname, 'node_modules', 'highlight.js', 'styles');
const authoredDir = path.join(__dirname, 'authored');
const themesDir = path.join(root, 'resources', 'Themes');

function fail(message) {
    console.error(`generate-themes: ${message}`);
    process.exit(2);
}

// --- tables shared with the program -----------------------------------------------------------

function readCssKeywords() {
    const source = fs.readFileSync(path.join(root, 'src/SyntaxHighlight/CSSColors.cpp'), 'utf8');
    const table = new Map();
    for (const m of source.matchAll(/\{"([a-z]+)", "(#[0-9a-f]{6})"\}/g)) table.set(m[1], m[2]);
    if (table.size !== 147) fail(`expected 147 CSS colour keywords, found ${table.size}`);
    return table;
}

// class name -> theme key, in field order (hljs itself is the base rule).
function readClassNames() {
    const source = fs.readFileSync(path.join(root, 'src/SyntaxHighlight/HLJSClassName.cpp'), 'utf8');
    const table = new Map();
    for (const m of source.matchAll(/\{HLJSClassName::\w+, "([a-z_-]+)", "(\w+)"\}/g)) table.set(m[1], m[2]);
    if (table.size !== 29) fail(`expected 29 class names, found ${table.size}`);
    table.delete('hljs');
    return table;
}

const cssKeywords = readCssKeywords();
const classNames = readClassNames();
const tokenKeys = [...classNames.values()];

// --- CSS reading -------------------------------------------------------------------------------

function readStyleSheet(file, seen = new Set()) {
    if (seen.has(file)) fail(`import cycle at ${file}`);
    seen.add(file);
    let text = fs.readFileSync(file, 'utf8').replace(/\/\*[\s\S]*?\*\//g, ' ');
    return text.replace(/@import\s+(?:url\(\s*)?['"]?([^'")\s;]+)['"]?\s*\)?\s*;/g, (_, target) =>
        readStyleSheet(path.join(path.dirname(file), target), seen));
}

// [{selectors: [...], declarations: [{property, value, important}]}] in source order.
function parseRules(text) {
    const rules = [];
    let i = 0;
    while (i < text.length) {
        const open = text.indexOf('{', i);
        if (open < 0) {
            if (text.slice(i).trim() !== '') fail(`trailing text "${text.slice(i).trim()}"`);
            break;
        }
        const prelude = text.slice(i, open).trim();
        if (prelude.startsWith('@')) {
            // Skip the whole at-rule block, nested rules included.
            let depth = 1;
            let j = open + 1;
            for (; j < text.length && depth > 0; ++j) {
                if (text[j] === '{') ++depth;
                else if (text[j] === '}') --depth;
            }
            i = j;
            continue;
        }
        const close = text.indexOf('}', open);
        if (close < 0) fail(`unclosed rule "${prelude}"`);
        const body = text.slice(open + 1, close);
        if (body.includes('{')) fail(`nested block in "${prelude}"`);
        const declarations = [];
        for (const part of body.split(';')) {
            const colon = part.indexOf(':');
            if (colon < 0) continue;
            let value = part.slice(colon + 1).trim();
            const important = /!\s*important$/i.test(value);
            if (important) value = value.replace(/!\s*important$/i, '').trim();
            declarations.push({property: part.slice(0, colon).trim().toLowerCase(), value, important});
        }
        rules.push({selectors: prelude.split(',').map((s) => s.trim()).filter(Boolean), declarations});
        i = close + 1;
    }
    return rules;
}

// "base", a theme key, or null for selectors a context-free theme cannot honour.
function selectorTarget(selector) {
    const compounds = selector.replace(/\s*([>+~])\s*/g, ' $1 ').split(/\s+/);
    const last = compounds.pop();
    // Every span sits inside .hljs, so ".hljs .hljs-x" says no more than ".hljs-x" does.
    if (compounds.some((part) => part !== '.hljs')) return null;
    if (last === '.hljs') return compounds.length === 0 ? 'base' : null;
    const m = /^\.(hljs-[a-z_-]+)$/.exec(last);
    if (!m || !classNames.has(m[1])) return null;
    return classNames.get(m[1]);
}

function specificity(selector) {
    return (selector.match(/[.#:\[]/g) || []).length;
}

// --- values ------------------------------------------------------------------------------------

const noColour = Symbol('no colour');

// {r, g, b, a} (0..255, alpha 0..1), noColour, or undefined when the text is not a colour.
function parseColour(text) {
    const value = text.trim().toLowerCase();
    if (['inherit', 'initial', 'unset', 'currentcolor', 'transparent', 'none'].includes(value)) return noColour;
    let m = /^#([0-9a-f]+)$/.exec(value);
    if (m) {
        let hex = m[1];
        if (hex.length === 3 || hex.length === 4) hex = [...hex].map((c) => c + c).join('');
        if (hex.length !== 6 && hex.length !== 8) return undefined;
        const channel = (k) => parseInt(hex.slice(2 * k, 2 * k + 2), 16);
        return {r: channel(0), g: channel(1), b: channel(2), a: hex.length === 8 ? channel(3) / 255 : 1};
    }
    m = /^rgba?\(([^)]*)\)$/.exec(value);
    if (m) {
        const parts = m[1].split(/\s*[,/]\s*|\s+/).filter(Boolean);
        if (parts.length < 3 || parts.length > 4) return undefined;
        const channel = (p) => (p.endsWith('%') ? (parseFloat(p) * 255) / 100 : parseFloat(p));
        const alpha = parts.length === 4 ? (parts[3].endsWith('%') ? parseFloat(parts[3]) / 100 : parseFloat(parts[3])) : 1;
        const [r, g, b] = parts.slice(0, 3).map(channel);
        if ([r, g, b, alpha].some((x) => Number.isNaN(x))) return undefined;
        return {r, g, b, a: alpha};
    }
    if (cssKeywords.has(value)) return parseColour(cssKeywords.get(value));
    return undefined;
}

// The colour inside a `background` shorthand: the first token that reads as a colour (for a
// gradient, its first stop).
function backgroundColour(value) {
    const tokens = value.replace(/url\([^)]*\)/gi, ' ').match(/rgba?\([^)]*\)|#[0-9a-f]+|[a-z]+/gi) || [];
    for (const token of tokens) {
        const colour = parseColour(token);
        if (colour !== undefined) return colour;
    }
    return noColour;
}

function blend(colour, under) {
    if (colour.a >= 1) return colour;
    const mix = (top, bottom) => top * colour.a + bottom * (1 - colour.a);
    return {r: mix(colour.r, under.r), g: mix(colour.g, under.g), b: mix(colour.b, under.b), a: 1};
}

function hex(colour) {
    const byte = (x) => Math.max(0, Math.min(255, Math.round(x))).toString(16).toUpperCase().padStart(2, '0');
    return `#${byte(colour.r)}${byte(colour.g)}${byte(colour.b)}`;
}

function isBold(value) {
    const v = value.trim().toLowerCase();
    if (v === 'bold' || v === 'bolder') return true;
    const n = Number(v);
    return Number.isFinite(n) && n >= 700;
}

function isItalic(value) {
    const v = value.trim().toLowerCase();
    return v === 'italic' || v.startsWith('oblique');
}

// --- conversion --------------------------------------------------------------------------------

function convert(name) {
    const file = path.join(stylesDir, `${name}.css`);
    if (!fs.existsSync(file)) fail(`no style sheet ${file} (run "npm ci" in tools/themes)`);
    const rules = parseRules(readStyleSheet(file));

    // target -> property -> winning {rank, value}
    const cascade = new Map();
    let order = 0;
    for (const rule of rules) {
        for (const selector of rule.selectors) {
            const target = selectorTarget(selector);
            if (!target) continue;
            for (const d of rule.declarations) {
                let property = d.property;
                let value = d.value;
                if (property === 'background') {
                    property = 'background-color';
                    value = {shorthand: value};
                }
                if (!['color', 'background-color', 'font-weight', 'font-style'].includes(property)) continue;
                const rank = [d.important ? 1 : 0, specificity(selector), order++];
                const props = cascade.get(target) || new Map();
                const current = props.get(property);
                if (!current || compareRank(rank, current.rank) > 0) props.set(property, {rank, value});
                cascade.set(target, props);
            }
        }
    }

    const readColour = (entry, where) => {
        if (!entry) return undefined;
        const colour = typeof entry.value === 'string' ? parseColour(entry.value) : backgroundColour(entry.value.shorthand);
        if (colour === undefined) fail(`${name}: cannot read colour "${JSON.stringify(entry.value)}" of ${where}`);
        return colour === noColour ? undefined : colour;
    };

    const white = {r: 255, g: 255, b: 255, a: 1};
    const base = cascade.get('base') || new Map();
    let background = readColour(base.get('background-color'), 'the background');
    if (background) background = blend(background, white);
    const under = background || white;

    const attribute = (props, where) => {
        const colour = readColour(props.get('color'), where);
        const textAttributes = [];
        if (props.has('font-weight') && isBold(props.get('font-weight').value)) textAttributes.push('bold');
        if (props.has('font-style') && isItalic(props.get('font-style').value)) textAttributes.push('italic');
        const result = {};
        if (colour) result.color = hex(blend(colour, under));
        result.textAttributes = textAttributes;
        return result;
    };

    const theme = {defaultAttributes: attribute(base, 'the base rule')};
    if (background) theme.backgroundColor = hex(background);
    for (const key of tokenKeys) {
        if (key === 'addition' || !cascade.has(key)) continue;
        const entry = attribute(cascade.get(key), key);
        if (entry.color || entry.textAttributes.length > 0) theme[key] = entry;
    }
    return JSON.stringify(theme);
}

function compareRank(a, b) {
    for (let k = 0; k < a.length; ++k) if (a[k] !== b[k]) return a[k] - b[k];
    return 0;
}

// Authored texts must follow the same rules as generated ones.
function checkTheme(name, text) {
    let theme;
    try {
        theme = JSON.parse(text);
    } catch (e) {
        fail(`${name}: ${e.message}`);
    }
    if (JSON.stringify(theme) !== text) fail(`${name}: not compact JSON`);
    if (!theme.defaultAttributes) fail(`${name}: no defaultAttributes`);
    for (const [key, value] of Object.entries(theme)) {
        if (key === 'backgroundColor') {
            if (!/^#[0-9A-F]{6}$/.test(value)) fail(`${name}: bad backgroundColor ${value}`);
            continue;
        }
        if (key !== 'defaultAttributes' && (!tokenKeys.includes(key) || key === 'addition'))
            fail(`${name}: key ${key} not allowed`);
        if (value.color !== undefined && !/^#[0-9A-F]{6}$/.test(value.color)) fail(`${name}: bad colour in ${key}`);
        if (!Array.isArray(value.textAttributes) || value.textAttributes.some((t) => t !== 'bold' && t !== 'italic'))
            fail(`${name}: bad textAttributes in ${key}`);
    }
}

function main() {
    const check = process.argv.includes('--check');
    const names = fs
        .readFileSync(path.join(themesDir, 'names.txt'), 'utf8')
        .split('\n')
        .map((l) => l.trim())
        .filter((l) => l && !l.startsWith('#'));
    if (new Set(names).size !== names.length) fail('duplicate names in names.txt');

    let differences = 0;
    for (const name of names) {
        const authored = path.join(authoredDir, `${name}.json`);
        const text = fs.existsSync(authored) ? fs.readFileSync(authored, 'utf8').trim() : convert(name);
        checkTheme(name, text);
        const out = path.join(themesDir, `${name}.json`);
        if (check) {
            const committed = fs.existsSync(out) ? fs.readFileSync(out, 'utf8').trim() : null;
            if (committed !== text) {
                console.error(`differs: ${name}`);
                ++differences;
            }
        } else {
            fs.writeFileSync(out, `${text}\n`);
        }
    }
    if (check && differences > 0) process.exit(1);
    console.log(`${names.length} themes ${check ? 'checked' : 'written'} in ${path.relative(process.cwd(), themesDir) || '.'}`);
}

main();
