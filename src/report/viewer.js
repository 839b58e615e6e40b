'use strict';
(() => {
  const section = document.getElementById('viewer');
  const part = (name) => section.querySelector(`[data-part="${name}"]`);
  const canvas = part('canvas'), radios = [...section.querySelectorAll('input[type="radio"]')];
  const sliders = ['sagittal', 'coronal', 'axial'].map(part), opacity = part('opacity');
  const { unit, perVoxel, mm, limit, start, oriented } = section.dataset;
  let view, field, shown, place = [0, 0, 0];

  // Images and library are gzip data in Base64.
  const inflated = async (id) => {
    const packed = Uint8Array.from(atob(document.getElementById(id).textContent.trim()),
                                   (letter) => letter.charCodeAt(0));
    const plain = new Blob([packed]).stream().pipeThrough(new DecompressionStream('gzip'));
    return new Uint8Array(await new Response(plain).arrayBuffer());
  };

  // Of an image of the page (packedimage.h): differences of samples to what those before them let
  // expect, byte by byte.
  const headerBytes = 352;
  const niftiFile = (bytes) => {
    const file = bytes.slice(), header = new DataView(file.buffer);
    const size = header.getInt16(72, true) / 8;
    const [columns, rows, slices] = [42, 44, 46].map((at) => header.getInt16(at, true));
    const plane = columns * rows, count = plane * slices;
    const samples = new (size === 2 ? Int16Array : Int32Array)(file.buffer, headerBytes, count);
    for (let z = 0, n = 0; z < slices; ++z)
      for (let y = 0; y < rows; ++y)
        for (let x = 0; x < columns; ++x, ++n) {
          const before = (i, j, k) =>
            x < i || y < j || z < k ? 0 : samples[n - i - j * columns - k * plane];
          const sum = 2 * (before(1, 0, 0) + before(0, 1, 0) + before(0, 0, 1)) -
                      before(1, 1, 0) - before(1, 0, 1) - before(0, 1, 1);
          let stored = 0;
          for (let b = 0; b < size; ++b) stored |= bytes[headerBytes + b * count + n] << (8 * b);
          samples[n] = Math.floor((sum + 1) / 3) + ((stored >>> 1) ^ -(stored & 1));
        }
    return file.buffer;
  };
  const valuesOf = (file) => {
    const header = new DataView(file), slope = header.getFloat32(112, true);
    if (header.getInt16(72, true) === 32) return new Float32Array(file, headerBytes);
    return Float32Array.from(new Int16Array(file, headerBytes), (sample) => slope * sample);
  };
  // What a function makes of two images, voxel by voxel, as 32-bit floats.
  const madeOf = (first, second, rule) => {
    const a = valuesOf(first), b = valuesOf(second);
    const made = new ArrayBuffer(headerBytes + 4 * a.length);
    new Uint8Array(made).set(new Uint8Array(first, 0, headerBytes));
    const header = new DataView(made);
    header.setInt16(70, 16, true);
    header.setInt16(72, 32, true);
    header.setFloat32(112, 1, true);
    new Float32Array(made, headerBytes).set(a.map((value, n) => rule(value, b[n])));
    return made;
  };
  // The colours as in the still pictures: fainter where the field is small and where nothing was
  // measured.
  const [atLimit, exponent, unmeasured] = section.dataset.weight.split(' ').map(Number);
  const weight = (value, measured) =>
    atLimit * Math.min(1, Math.abs(value / limit)) ** exponent * (measured ? 1 : unmeasured);

  const files = new Map(), images = new Map();
  const fileOf = async (id) => {
    if (!files.has(id)) {
      const [first, second, weights] = id.split(' ');
      files.set(id, second ? madeOf(await fileOf(first), await fileOf(second),
                                    weights ? weight : (a, b) => (a + b) / 2)
                           : niftiFile(await inflated(id)));
    }
    return files.get(id);
  };
  const imageOf = async (id, colours, low, high) => {
    if (!images.has(id)) {
      const file = (await fileOf(id)).slice(0);
      const image = await niivue.NVImage.new(file, `${id}.nii`, colours, 1, null, low, high);
      images.set(id, Object.assign(image, { cal_min: low, cal_max: high }));
    }
    return images.get(id);
  };
  // Of one of the choices; its parts, for their values, where it is a mean.
  const greyOf = ({ value, dataset }) => imageOf(value, 'gray', +dataset.low, +dataset.high);
  const partsOf = (radio) =>
    radio.value.split(' ').map((id) => radios.find((each) => each.value === id));

  // With a true minus sign; `half` is how far off the number may be.
  const text = (value, decimals) =>
    value.toFixed(decimals).replace(/^-(0\.?0*)$/, '$1').replace('-', '\u2212');
  const decimalsOf = (half) => Math.max(0, Math.ceil(-Math.log10(half)));
  const near = (value, half) =>
    half ? `${text(value, decimalsOf(half))} \u00b1 ${Number(half.toPrecision(1))}`
         : String(Number(value.toPrecision(6))).replace('-', '\u2212');
  const sum = (numbers) => numbers.reduce((all, one) => all + one);
  const valueText = (voxel) => {
    const parts = partsOf(shown).map(({ dataset, value }) => ({
      low: +dataset.low, half: +dataset.half, black: +dataset.black,
      value: images.get(value).getValue(...voxel) }));
    const mean = (key) => sum(parts.map((part) => part[key])) / parts.length;
    if (parts.every(({ value, black }) => Math.abs(value - black) <= 1e-6 * Math.abs(black)))
      return `below ${text(mean('low'), decimalsOf(mean('half') || 1))}`;
    return near(mean('value'), mean('half'));
  };

  const sides = () => view.volumes[0].dimsRAS.slice(1, 4);
  const centre = (voxel) => sides().map((count, n) => (voxel[n] + 0.5) / count);
  const within = (voxel) => sides().map((count, n) => Math.min(count - 1, Math.max(0, voxel[n])));
  // Voxels are counted towards the patient's right, front and top here, in the file along its axes.
  const inFile = (voxel) => {
    const counted = [0, 0, 0];
    view.volumes[0].permRAS.forEach((axis, n) => {
      counted[Math.abs(axis) - 1] = axis > 0 ? voxel[n] : sides()[n] - 1 - voxel[n];
    });
    return counted;
  };
  const tell = (voxel) => {
    const image = view.volumes[0], counted = inFile(voxel);
    part('voxel').value = counted.join(', ');
    part('value').value = valueText(voxel);
    const strength = field.getValue(...voxel), displacement = strength / perVoxel;
    if (unit === 'Hz') part('field').value = `${text(strength, decimalsOf(field.hdr.scl_slope))} Hz`;
    part('displacement').value =
        `${text(displacement, 2)} voxels, ${text(displacement * mm, 2)} mm`;
    if (oriented) {
      const [x, y, z] = image.convertFrac2MM(centre(voxel), true);
      part('place').value = [x, y, z].map((each) => text(each, 1)).join(', ') + ' mm';
    }
  };
  const move = (voxel) => {
    place = within(voxel);
    sliders.forEach((slider, n) => {
      slider.value = place[n];
      slider.nextElementSibling.value = place[n];
    });
    view.scene.crosshairPos = centre(place);
    view.drawScene();
    tell(place);
  };

  const load = async (radio) => {
    for (const part of partsOf(radio)) await greyOf(part);
    return greyOf(radio);
  };
  const show = async (radio) => {
    const image = await load(radio);
    if (!radio.checked) return;
    shown = radio;
    view.volumes = [image, ...view.volumes.slice(1)];
    view.setVolume(image, 0);
    move(place);
    section.dataset.shown = radio.value;
    section.dataset.window = `${image.cal_min} ${image.cal_max}`;
  };
  const fade = () => {
    opacity.nextElementSibling.value = `${opacity.value} %`;
    view.setOpacity(1, opacity.value / 100);
  };

  const pixel = (event) => {
    const box = canvas.getBoundingClientRect();
    return [(event.clientX - box.left) * canvas.width / box.width,
            (event.clientY - box.top) * canvas.height / box.height];
  };
  const voxelAt = (event) => {
    const part = view.canvasPos2frac(pixel(event));
    return part[0] < 0 ? null : within(sides().map((count, n) => Math.floor(part[n] * count)));
  };
  const listen = () => {
    canvas.addEventListener('pointerdown', (event) => {
      const voxel = voxelAt(event);
      if (voxel) move(voxel);
    });
    canvas.addEventListener('pointermove', (event) => {
      const voxel = voxelAt(event);
      if (voxel && event.buttons) move(voxel);
      else tell(voxel ?? place);
    });
    canvas.addEventListener('pointerleave', () => tell(place));
    canvas.addEventListener('wheel', (event) => {
      const tile = view.screenSlices[view.tileIndex(...pixel(event))];
      if (!tile || tile.axCorSag > 2) return;
      event.preventDefault();
      step(2 - tile.axCorSag, event.deltaY < 0 ? 1 : -1);
    }, { passive: false });
    const keys = { ArrowLeft: [0, -1], ArrowRight: [0, 1], ArrowDown: [1, -1], ArrowUp: [1, 1],
                   PageDown: [2, -1], PageUp: [2, 1] };
    canvas.addEventListener('keydown', (event) => {
      if (!keys[event.key]) return;
      event.preventDefault();
      step(...keys[event.key]);
    });
    sliders.forEach((slider, axis) =>
      slider.addEventListener('input', () => step(axis, slider.value - place[axis])));
    opacity.addEventListener('input', fade);
    radios.forEach((radio) => radio.addEventListener('change', () => show(radio)));
  };
  const step = (axis, by) => move(place.map((at, n) => n === axis ? at + by : at));

  const begin = async () => {
    const script = document.createElement('script');
    script.textContent = new TextDecoder().decode(await inflated('viewer-library'));
    document.head.append(script);
    view = new niivue.Niivue({
      logLevel: 'error', loadingText: '', interactive: false, dragAndDropEnabled: false,
      isNearestInterpolation: true, multiplanarShowRender: 0, isOrientationTextVisible: Boolean(oriented),
      crosshairWidth: 0.7, crosshairWidthUnit: 'mm',
      fontColor: [0.9, 0.93, 0.96, 1], crosshairColor: [1, 0.83, 0, 0.7],
    });
    await view.attachToCanvas(canvas, false);
    const colours = section.dataset.colours.split(' ').map(Number);
    const [R, G, B] = [0, 1, 2].map((part) => colours.filter((each, n) => n % 3 === part));
    view.addColormap('displacement', { R, G, B, A: [255, 255, 255], I: [0, 128, 255] });
    shown = radios.find((radio) => radio.checked);
    view.addVolume(await load(shown));
    field = await imageOf('viewer-field', 'displacement', -limit, +limit);
    view.addVolume(field);
    const weights = await imageOf('viewer-field viewer-measured weights', 'gray', 0, 1);
    view.addVolume(weights);
    view.setOpacity(2, 0);
    view.setModulationImage(field.id, weights.id, 1);
    sliders.forEach((slider, n) => { slider.max = sides()[n] - 1; });
    fade();
    listen();
    move(start.split(' ').map(Number));
    section.dataset.state = 'ready';
  };
  const unable = (why) => {
    section.dataset.state = 'unable';
    part('unable').textContent = `This browser cannot show the viewer: ${why}. ` +
        'The other pictures of this page show chosen slices.';
  };

  section.hidden = false;
  if (!document.createElement('canvas').getContext('webgl2')) return unable('it has no WebGL 2');
  if (typeof DecompressionStream === 'undefined') return unable('it cannot unpack compressed data');
  // Only once somebody looks at it: the other parts of the page are there at once.
  const watch = new IntersectionObserver((seen) => {
    if (!seen.some((one) => one.isIntersecting)) return;
    watch.disconnect();
    begin().catch((fault) => unable(fault.message));
  }, { rootMargin: '200px' });
  watch.observe(section);
})();
