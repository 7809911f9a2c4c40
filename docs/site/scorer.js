// How much a page counts in a search: what explains comes before what lists, what is a class or a function of
// its own before what belongs to one.
var Scorer = {
  score: ([page, title, anchor, description, score]) => {
    const isObject = description !== null;
    if (isObject) return /::|\..*\./.test(title) || score < 30 ? score / 10 : score; // whole names first
    if (/^(CHANGELOG|CONTRIBUTING|README|bench|packaging|design)/.test(page)) return score * 0.3;
    if (/^reference\//.test(page)) return score * 0.4;
    if (/^(tasks|compare|tour)$/.test(page)) return score * 0.8;
    return /^cookbook\//.test(page) ? score * 1.8 : score;
  },
  objNameMatch: 40,
  objPartialMatch: 6,
  objPrio: { 0: 15, 1: 5, 2: -5 },
  objPrioDefault: 0,
  title: 15,
  partialTitle: 7,
  term: 5,
  partialTerm: 2,
};
