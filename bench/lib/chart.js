'use strict';
// Draws the table of ratios as an SVG, which can be read on a light and on a dark page.

const left = 330;
const width = 860;
const rowHeight = 26;
const top = 74;

const escape = (text) => text.replaceAll('&', '&amp;').replaceAll('<', '&lt;');

/** One bar for each row, with its quartiles as a thin line across the bar's end, and a dashed line at the limit. */
exports.drawChart = ({ compiler, system, processor, node, limit, rows }) => {
  const widest = Math.max(1.5, ...rows.map(({ ratio }) => ratio.upper));
  const x = (ratio) => (left + ratio / widest * (width - left - 60)).toFixed(1);
  const bottom = top + rows.length * rowHeight;
  const bars = rows.map(({ what, against, ratio }, index) => {
    const y = top + index * rowHeight;
    const middle = y + rowHeight / 2;
    return `  <text class="what" x="${left - 10}" y="${middle - 1}">${what}</text>
  <text class="against" x="${left - 10}" y="${middle + 9}">against ${against}</text>
  <rect class="${ratio.median > limit ? 'above' : 'bar'}" x="${left}" y="${y + 5}" width="${x(ratio.median) - left}" height="${rowHeight - 10}"/>
  <path class="spread" d="M${x(ratio.lower)} ${middle}H${x(ratio.upper)}"/>
  <text class="value" x="${width - 16}" y="${middle + 4}">${ratio.median.toFixed(2)}</text>`;
  });
  return `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 ${width} ${bottom + 34}" role="img" aria-label="Time of the module divided by the time of bare calls">
  <style>
    text { font: 12px system-ui, sans-serif; fill: #1f2328 }
    .title { font-weight: 600; font-size: 14px }
    .what, .against, .value { text-anchor: end }
    .against { font-size: 9px }
    .against, .axis { fill: #59636e }
    .axis { text-anchor: middle; font-size: 11px }
    .bar { fill: #2f81f7 }
    .above { fill: #d1742f }
    .spread { stroke: #1f2328; stroke-width: 1.5 }
    .one { stroke: #8c959f }
    .limit { stroke: #cf222e; stroke-dasharray: 4 3 }
    @media (prefers-color-scheme: dark) {
      text { fill: #e6edf3 }
      .against, .axis { fill: #9198a1 }
      .spread { stroke: #e6edf3 }
      .limit { stroke: #ff7b72 }
    }
  </style>
  <text class="title" x="16" y="22">Time of the module divided by the time of the bare calls</text>
  <text class="axis" style="text-anchor: start" x="16" y="40">Medians and quartiles; lower is better, the dashed line is ${limit}</text>
  <text class="axis" style="text-anchor: start" x="16" y="56">${compiler} build, Node.js ${node.slice(1)}, ${system}, ${escape(processor)}</text>
${bars.join('\n')}
  <path class="one" d="M${x(1)} ${top}V${bottom}"/>
  <path class="limit" d="M${x(limit)} ${top}V${bottom}"/>
  <text class="axis" x="${x(1)}" y="${bottom + 16}">1</text>
  <text class="axis" x="${+x(limit) + 8}" y="${bottom + 16}">${limit}</text>
</svg>
`;
};
