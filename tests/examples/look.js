// What is wrong with the report that the browser shows at the width of arguments[0], and what there is to be seen.
const done = arguments[1], width = arguments[0];
(async () => {
  const wrong = [];
  const check = (holds, what) => { if (!holds) wrong.push(what); };
  const page = document.documentElement;
  const dark = matchMedia('(prefers-color-scheme: dark)').matches;

  // Colours, with what shines through mixed in.
  const parse = text => {
    const parts = text.match(/[\d.]+/g).map(Number);
    return parts.length > 3 ? parts : [...parts, 1];
  };
  const behind = element => {
    for (let e = element; e; e = e.parentElement) {
      const colour = parse(getComputedStyle(e).backgroundColor);
      if (colour[3] === 1) return colour;
      if (colour[3] > 0) throw new Error('a background that is half transparent');
    }
    return [255, 255, 255, 1];
  };
  const lightness = colour => {
    const [r, g, b] = colour.slice(0, 3).map(v => v / 255)
      .map(v => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4);
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  const contrast = (a, b) => {
    const [low, high] = [lightness(a), lightness(b)].sort((x, y) => x - y);
    return (high + 0.05) / (low + 0.05);
  };
  check((lightness(behind(document.body)) < 0.1) === dark, 'the page is not ' + (dark ? 'dark' : 'light'));

  let texts = 0;
  for (const element of document.body.querySelectorAll('*')) {
    const own = [...element.childNodes].some(n => n.nodeType === 3 && n.data.trim());
    const style = getComputedStyle(element);
    if (!own || style.display === 'none') continue;
    ++texts;
    const isDrawn = element instanceof SVGElement;
    const ratio = contrast(parse(isDrawn ? style.fill : style.color), behind(element));
    check(ratio >= 4.5, `contrast ${ratio.toFixed(1)} of '${element.textContent.slice(0, 30)}'`);
    const scale = isDrawn ? element.getScreenCTM().d || element.getScreenCTM().b : 1;
    const size = parseFloat(style.fontSize) * Math.abs(isDrawn ? Math.hypot(element.getScreenCTM().a,
      element.getScreenCTM().b) : scale);
    check(size >= 8.5, `'${element.textContent.slice(0, 30)}' is ${size.toFixed(1)} pixels high`);
  }

  // Nothing reaches beyond the window, and what is wider scrolls by itself and by the keyboard.
  check(page.scrollWidth <= width, `the page is ${page.scrollWidth} wide`);
  for (const e of document.body.querySelectorAll('*')) {
    const scrolls = ['auto', 'scroll'].includes(getComputedStyle(e).overflowX);
    if (scrolls) check(e.getAttribute('tabindex') === '0', `<${e.localName}> cannot be scrolled by keys`);
    if (!scrolls && e.clientWidth > 0 && !(e instanceof SVGElement))
      check(e.scrollWidth <= e.clientWidth + 1 || e.closest('.scroll'),
            `<${e.localName}> '${e.textContent.slice(0, 30)}' is cut off`);
  }

  // Pictures are decoded, have a size, and hold all of their text.
  let pictures = 0;
  for (const svg of document.querySelectorAll('figure svg[role=img]')) {
    const name = svg.getAttribute('aria-label').slice(0, 60);
    const box = svg.getBoundingClientRect();
    check(box.width >= 250 && box.height >= 60, `${name}: ${box.width} x ${box.height}`);
    for (const image of svg.querySelectorAll('image')) {
      const copy = new Image();
      copy.src = image.getAttribute('href');
      await copy.decode().catch(() => {});
      const shown = image.getBoundingClientRect();
      check(copy.naturalWidth > 0 && shown.width > 50 && shown.height > 2, `${name}: no picture`);
      ++pictures;
    }
    const curves = svg.querySelectorAll('.curve');
    check(curves.length + svg.querySelectorAll('image').length > 0, `${name}: empty`);
    for (const curve of curves) {
      const shown = curve.getBoundingClientRect();
      check(curve.getTotalLength() > 0 || curve.classList.contains('dots'), `${name}: an empty curve`);
      check(shown.left >= box.left - 2 && shown.right <= box.right + 2 && shown.top >= box.top - 2 &&
            shown.bottom <= box.bottom + 2, `${name}: a curve leaves its picture`);
      const ratio = contrast(parse(getComputedStyle(curve).stroke), behind(svg));
      check(ratio >= 3, `${name}: contrast ${ratio.toFixed(1)} of a curve`);
      for (const band of svg.querySelectorAll('.band'))
        check(contrast(parse(getComputedStyle(curve).stroke), parse(getComputedStyle(band).fill)) >= 3,
              `${name}: a curve is lost in a band`);
      ++pictures;
    }
    for (const name of svg.querySelectorAll('text.mark'))
      for (const curve of curves)
        check(getComputedStyle(name).display === 'none' ||
              curve.getBoundingClientRect().top >= name.getBoundingClientRect().bottom,
              `${name.textContent} stands in a curve`);
    const seen = [...svg.querySelectorAll('text')].filter(t => getComputedStyle(t).display !== 'none')
      .map(t => [t, t.getBoundingClientRect()]);
    for (const [text, at] of seen)
      check(at.left >= box.left - 6 && at.right <= box.right + 6 && at.top >= box.top - 3 &&
            at.bottom <= box.bottom + 3, `${name}: '${text.textContent}' is cut off`);
    seen.forEach(([text, a], i) => seen.slice(i + 1).forEach(([other, b]) => {
      const x = Math.min(a.right, b.right) - Math.max(a.left, b.left);
      const y = Math.min(a.bottom, b.bottom) - Math.max(a.top, b.top);
      check(x <= 1 || y <= 4, `${name}: '${text.textContent}' covers '${other.textContent}'`);
    }));
  }

  const steps = document.querySelectorAll('main section h2').length;
  return {wrong, steps, pictures, texts};
})().then(done, error => done({wrong: [String(error)], steps: 0, pictures: 0, texts: 0}));
