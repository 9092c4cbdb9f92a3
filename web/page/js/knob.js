// A pedal knob on the 0..10 dial, drawn in SVG: vertical drag (mouse, pen or
// touch), the wheel and the keyboard (arrows 0.1, Page Up/Down 1, Home/End)
// move it. The element is an ARIA slider with its own label.
const kSvg = 'http://www.w3.org/2000/svg';
const kSweepDegrees = 270;        // pointer travel from 0 to 10
const kDragPixelsPerDial = 20;    // a full turn is 200 px of vertical drag

function svgElement(name, attributes, parent) {
  const element = document.createElementNS(kSvg, name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  parent?.appendChild(element);
  return element;
}

export class Knob {
  // `parent`: the SVG group to draw into; `onChange(dial)` on every change.
  constructor(parent, { name, label, x, y, radius = 26, value = 5, onChange }) {
    this.name = name;
    this.onChange = onChange;
    this.group = svgElement('g', {
      class: 'knob', role: 'slider', tabindex: '0', 'aria-label': label,
      'aria-valuemin': '0', 'aria-valuemax': '10', transform: `translate(${x} ${y})`,
      'data-knob': name,
    }, parent);
    svgElement('circle', { class: 'focus-ring', r: radius + 7 }, this.group);
    for (let tick = 0; tick <= 10; ++tick) {
      const angle = ((tick / 10) * kSweepDegrees - kSweepDegrees / 2 - 90) * (Math.PI / 180);
      svgElement('line', {
        class: 'tick', x1: Math.cos(angle) * (radius + 3), y1: Math.sin(angle) * (radius + 3),
        x2: Math.cos(angle) * (radius + 7), y2: Math.sin(angle) * (radius + 7),
      }, this.group);
    }
    svgElement('circle', { class: 'knob-body', r: radius }, this.group);
    this.pointer = svgElement('line', { class: 'knob-pointer', x1: 0, y1: -6, x2: 0, y2: -radius + 4 }, this.group);
    svgElement('text', { class: 'knob-label', y: radius + 22, 'text-anchor': 'middle' }, this.group)
      .textContent = label.toUpperCase();
    this.set(value, false);
    this.attachInput();
  }

  // Sets the dial (clamped to 0..10, kept to 0.1 steps); `notify` calls onChange.
  set(dial, notify = true) {
    const clamped = Math.min(10, Math.max(0, Math.round(Number(dial) * 10) / 10 || 0));
    this.value = clamped;
    this.pointer.setAttribute('transform', `rotate(${(clamped / 10) * kSweepDegrees - kSweepDegrees / 2})`);
    this.group.setAttribute('aria-valuenow', String(clamped));
    this.group.setAttribute('aria-valuetext', clamped.toFixed(1));
    if (notify) this.onChange?.(clamped);
  }

  attachInput() {
    const g = this.group;
    let drag = null;
    g.addEventListener('pointerdown', (event) => {
      g.focus();
      g.setPointerCapture(event.pointerId);
      drag = { y: event.clientY, start: this.value };
      event.preventDefault();
    });
    g.addEventListener('pointermove', (event) => {
      if (drag) this.set(drag.start + (drag.y - event.clientY) / kDragPixelsPerDial);
    });
    const endDrag = () => { drag = null; };
    g.addEventListener('pointerup', endDrag);
    g.addEventListener('pointercancel', endDrag);
    g.addEventListener('wheel', (event) => {
      event.preventDefault();
      this.set(this.value + (event.deltaY < 0 ? 0.2 : -0.2));
    }, { passive: false });
    g.addEventListener('keydown', (event) => {
      const steps = { ArrowUp: 0.1, ArrowRight: 0.1, ArrowDown: -0.1, ArrowLeft: -0.1,
                      PageUp: 1, PageDown: -1 };
      if (event.key in steps) this.set(this.value + steps[event.key]);
      else if (event.key === 'Home') this.set(0);
      else if (event.key === 'End') this.set(10);
      else return;
      event.preventDefault();
    });
  }
}
