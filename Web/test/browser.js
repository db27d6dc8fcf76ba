// A headless browser with graphics in software, and a server of files for it.
import { createServer } from 'node:http';
import { execFileSync } from 'node:child_process';
import { after, before } from 'node:test';
import puppeteer from 'puppeteer-core';
import { fileBelow } from './support.js';

const types = {
  html: 'text/html; charset=utf-8',
  js: 'text/javascript',
  gz: 'application/gzip',
  json: 'application/json',
};

/** Serves what `find` gives for a path: bytes, perhaps later, or undefined for 404. */
export async function serve(find) {
  const server = createServer(async (request, response) => {
    const path = decodeURIComponent(new URL(request.url, 'http://x').pathname).slice(1);
    const content = await find(path);
    if (path === 'favicon.ico') return response.writeHead(204).end();
    if (content === undefined) return response.writeHead(404).end();
    response.setHeader('Content-Type', types[path.split('.').at(-1) || 'html'] ?? 'application/octet-stream');
    response.end(content);
  });
  await new Promise(done => server.listen(0, '127.0.0.1', done));
  return {
    address: `http://127.0.0.1:${server.address().port}/`,
    close: () => {
      server.closeAllConnections();
      server.close();
    },
  };
}

function findChromium() {
  return execFileSync('sh', ['-c', 'command -v chromium chromium-browser google-chrome | head -n 1'])
    .toString()
    .trim();
}

export async function launch(...args) {
  return puppeteer.launch({
    executablePath: findChromium(),
    headless: true,
    protocolTimeout: 0, // a page may be busy for long; tests have limits of their own
    args: [
      ...(process.getuid() === 0 ? ['--no-sandbox'] : []),
      '--use-angle=swiftshader',
      '--enable-unsafe-swiftshader',
      '--force-device-scale-factor=1',
      // Of its own accord it asks nobody for anything.
      '--disable-quic',
      '--no-first-run',
      '--disable-background-networking',
      '--disable-component-update',
      '--disable-sync',
      ...args,
    ],
  });
}

/** A page of a small size whose errors end up in `page.errors`, and what it asks for in `page.requests`. */
export async function openPage(browser, address, { width = 480, height = 360 } = {}) {
  const page = await browser.newPage();
  await page.setViewport({ width, height });
  page.errors = [];
  page.requests = [];
  page.on('pageerror', error => page.errors.push(String(error)));
  page.on('console', message => message.type() === 'error' && page.errors.push(message.text()));
  page.on('request', request => page.requests.push(request.url()));
  await page.goto(address);
  return page;
}

/** The same of a page that shows a model, when all of it is there. */
export async function openModel(browser, address, size) {
  const page = await openPage(browser, address, size);
  await page.waitForFunction(() => {
    const viewer = document.querySelector('mirel-page')?.viewer ?? document.querySelector('mirel-viewer');
    return viewer.model && viewer.shadowRoot.querySelector('progress').hidden;
  });
  return page;
}

/**
 * A browser, and a server at `address`, for the tests of one file: they are there while these run. `files` are contents by their
 * paths, perhaps to come, `folders` lie below their names; both may change.
 */
export function useBrowser({ files = {}, folders = {} } = {}) {
  const used = {};
  let server;
  before(async () => {
    server = await serve(path => {
      const [top, ...below] = path.split('/');
      return files[path] ?? (folders[top] && fileBelow(folders[top], below.join('/')));
    });
    used.address = server.address;
    used.browser = await launch();
  });
  after(async () => {
    await used.browser?.close();
    server?.close();
  });
  return used;
}

/**
 * The part of the pixels, of 0 to 1, in which a component of two PNG files, both on white, differs by more than a tolerance.
 * `scale` makes the pictures smaller before that: what is less than a pixel then, such as how lines are drawn, does not count.
 */
export const compare = (page, a, b, { tolerance, scale }) =>
  page.evaluate(
    async (files, tolerance, scale) => {
      const [a, b] = await Promise.all(
        files.map(async text => {
          const bytes = Uint8Array.from(atob(text), c => c.charCodeAt(0));
          const bitmap = await createImageBitmap(new Blob([bytes], { type: 'image/png' }));
          const [width, height] = [bitmap.width * scale, bitmap.height * scale].map(Math.round);
          const context = new OffscreenCanvas(width, height).getContext('2d');
          context.fillStyle = '#fff';
          context.fillRect(0, 0, width, height);
          context.imageSmoothingQuality = 'high';
          context.drawImage(bitmap, 0, 0, width, height);
          return context.getImageData(0, 0, width, height);
        }),
      );
      if (a.width !== b.width || a.height !== b.height) return 1;
      let different = 0;
      for (let i = 0; i < a.data.length; i += 4)
        different += [0, 1, 2].some(k => Math.abs(a.data[i + k] - b.data[i + k]) > tolerance);
      return different / (a.width * a.height);
    },
    [a, b].map(bytes => Buffer.from(bytes).toString('base64')),
    tolerance,
    scale,
  );
