// SPDX-License-Identifier: GPL-3.0-or-later
// The spans Highlight.js would write as HTML, reported as numbers instead. Building the HTML
// and reading it back costs more than the highlighting itself, and the editor re-colours its
// whole text on every keystroke.
//
// The emitter mirrors what Highlight.js's own token tree and HTML renderer make of the same
// calls: a scope opens a span, an empty one opens nothing; a keyword is a span around its text;
// an embedded language becomes a span "language-NAME" around its own spans.
var hljsSpans = (function () {
  "use strict";

  // The default emitter, so that every other call keeps writing HTML.
  var DefaultEmitter = hljs.highlight("", { language: "plaintext" })._emitter.constructor;

  function cssClass(scope, prefix) {
    if (scope.indexOf(".") < 0) return prefix + scope;
    var pieces = scope.split(".");
    var names = [prefix + pieces[0]];
    for (var i = 1; i < pieces.length; i++) names.push(pieces[i] + "_".repeat(i));
    return names.join(" ");
  }

  // Four numbers a span, in document order: depth among spans, start, end, class number.
  function SpanEmitter(options) {
    this.prefix = options.classPrefix;
    this.spans = [];
    this.classes = [];
    this.classNumbers = new Map();
    // Index into spans of each open node, or -1 for a node that writes no span.
    this.open = [];
    this.depth = 0;
    this.position = 0;
  }

  SpanEmitter.prototype.classNumber = function (name) {
    var number = this.classNumbers.get(name);
    if (number === undefined) {
      number = this.classes.length;
      this.classes.push(name);
      this.classNumbers.set(name, number);
    }
    return number;
  };

  SpanEmitter.prototype.addText = function (text) {
    this.position += text.length;
  };

  SpanEmitter.prototype.openNode = function (scope) {
    if (!scope) {
      this.open.push(-1);
      return;
    }
    this.open.push(this.spans.length);
    this.spans.push(this.depth++, this.position, this.position,
                    this.classNumber(cssClass(scope, this.prefix)));
  };

  SpanEmitter.prototype.closeNode = function () {
    if (this.open.length === 0) return;
    var index = this.open.pop();
    if (index < 0) return;
    this.spans[index + 2] = this.position;
    this.depth--;
  };

  SpanEmitter.prototype.closeAllNodes = function () {
    while (this.open.length > 0) this.closeNode();
  };

  SpanEmitter.prototype.addKeyword = function (text, scope) {
    if (text === "") return;
    this.openNode(scope);
    this.addText(text);
    this.closeNode();
  };

  SpanEmitter.prototype.addSublanguage = function (emitter, name) {
    // Rendering closes whatever the embedded part left open, at its end.
    emitter.closeAllNodes();
    var depth = this.depth;
    if (name) {
      this.spans.push(depth++, this.position, this.position + emitter.position,
                      this.classNumber("language-" + name));
    }
    var spans = emitter.spans;
    for (var i = 0; i < spans.length; i += 4) {
      this.spans.push(spans[i] + depth, spans[i + 1] + this.position, spans[i + 2] + this.position,
                      this.classNumber(emitter.classes[spans[i + 3]]));
    }
    this.position += emitter.position;
  };

  SpanEmitter.prototype.finalize = function () {
    return true;
  };

  SpanEmitter.prototype.toHTML = function () {
    return "";
  };

  return {
    // {classes, spans} for the code; none where the HTML would be the bare escaped code (an
    // illegal lexeme, an error inside a grammar). Throws for an unknown language.
    highlight: function (language, code, ignoreIllegals) {
      var result;
      hljs.configure({ __emitter: SpanEmitter });
      try {
        result = hljs.highlight(code, { language: language, ignoreIllegals: ignoreIllegals });
      } finally {
        hljs.configure({ __emitter: DefaultEmitter });
      }
      if (result.illegal || result.errorRaised) return { classes: [], spans: new Int32Array(0) };
      var emitter = result._emitter;
      return { classes: emitter.classes, spans: new Int32Array(emitter.spans) };
    },
  };
})();
