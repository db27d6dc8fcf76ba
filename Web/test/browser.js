// A headless browser with graphics in software, and a server of files for it.
import { createServer } from 'node:http';
import { execFileSync } from 'node:child_process';
import puppeteer from 'puppeteer-core';

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
      ...args,
    ],
  });
}

/** A page of a small size whose errors end up in `page.errors`. */
export async function openPage(browser, address, { width = 480, height = 360 } = {}) {
  const page = await browser.newPage();
  await page.setViewport({ width, height });
  page.errors = [];
  page.on('pageerror', error => page.errors.push(String(error)));
  page.on('console', message => message.type() === 'error' && page.errors.push(message.text()));
  await page.goto(address);
  return page;
}
