// A manager without a stream: it serves the page, and whatever picture the test gives it, over the manager's interface.
import { createReadStream } from 'node:fs';
import { createServer } from 'node:http';
import { dirname, extname, join, normalize } from 'node:path';
import { fileURLToPath } from 'node:url';

const ROOT = join(dirname(fileURLToPath(import.meta.url)), '../../..');
const PAGE = join(ROOT, 'page');
const DYGRAPHS = '/usr/share/javascript/dygraphs/dygraph.min.js';
/** @type {Record<string, string>} */
const TYPES = { '.html': 'text/html', '.js': 'text/javascript', '.css': 'text/css' };
const HEADERS = {
  'Content-Security-Policy':
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'",
  'X-Content-Type-Options': 'nosniff',
  'Referrer-Policy': 'no-referrer',
  'Cache-Control': 'no-cache',
};

/** @typedef {import('../../../page/picture/picture.js').Message} Message */
/** @typedef {import('../../../page/picture/history.js').KeptRates} KeptRates */

/**
 * @typedef {object} MockManager
 * @property {string} address
 * @property {number} port
 * @property {string[]} looks what the page said it looks at, in turn
 * @property {(message: Message) => void} setPicture what a page that comes now begins with
 * @property {(change: Message) => void} send sends a change to every open page; the picture is the caller's to keep
 * @property {(name: string, text: string) => void} setDocument the document as it came
 * @property {(history: KeptRates) => void} setHistory
 * @property {() => number} listeners open event streams
 * @property {(isHung: boolean) => void} hang while it hangs it takes requests and answers none; later it answers them
 * @property {() => Promise<void>} close
 */

/**
 * @param {number} [port] 0: any
 * @returns {Promise<MockManager>}
 */
export async function startMockManager(port = 0) {
  /** @type {Message} */
  let picture = { version: 0, time: Date.now() };
  /** @type {KeptRates} */
  let history = { times: [], total: [], pids: {}, programs: {} };
  /** @type {Set<import('node:http').ServerResponse>} */
  const streams = new Set();
  /** @type {Map<string, string>} */
  const documents = new Map();
  /** @type {string[]} */
  const looks = [];

  /** @param {string} event @param {Message} message */
  const eventText = (event, message) => `id: ${message.version}\nevent: ${event}\ndata: ${JSON.stringify(message)}\n\n`;

  /** @type {(() => void)[] | null} the requests that wait while it hangs */
  let waiting = null;
  const server = createServer((request, response) => {
    if (waiting) waiting.push(() => serve(request, response));
    else serve(request, response);
  });
  /** @param {import('node:http').IncomingMessage} request @param {import('node:http').ServerResponse} response */
  function serve(request, response) {
    const { pathname, searchParams } = new URL(request.url ?? '/', 'http://mock');
    /** @param {number} status @param {string} type @param {string} text */
    const answer = (status, type, text) => response.writeHead(status, { ...HEADERS, 'Content-Type': type }).end(text);
    if (request.method !== 'GET') answer(405, 'text/plain', '');
    else if (pathname === '/api/events') {
      response.writeHead(200, { ...HEADERS, 'Content-Type': 'text/event-stream' });
      response.write(eventText('picture', picture));
      streams.add(response);
      response.on('close', () => streams.delete(response));
    } else if (pathname === '/api/picture') answer(200, 'application/json', JSON.stringify(picture));
    else if (pathname === '/api/history') answer(200, 'application/json', JSON.stringify(history));
    else if (pathname === '/api/look') {
      looks.push(searchParams.get('at') ?? '');
      response.writeHead(204, HEADERS).end();
    } else if (pathname.startsWith('/api/document/')) {
      const text = documents.get(decodeURIComponent(pathname.slice('/api/document/'.length)));
      answer(text === undefined ? 404 : 200, 'text/plain; charset=utf-8', text ?? '');
    } else if (pathname.startsWith('/api/csv/')) answer(200, 'text/csv', 'pid\r\n');
    else serveFile(pathname === '/' ? '/index.html' : pathname, response, answer);
  }
  await new Promise((resolve) => server.listen(port, '127.0.0.1', () => resolve(undefined)));
  const { port: taken } = /** @type {import('node:net').AddressInfo} */ (server.address());

  return {
    address: `http://127.0.0.1:${taken}/`,
    port: taken,
    looks,
    setPicture: (message) => {
      picture = message;
    },
    send(change) {
      for (const stream of streams) stream.write(eventText('change', change));
    },
    setDocument: (name, text) => documents.set(name, text),
    setHistory: (kept) => {
      history = kept;
    },
    listeners: () => streams.size,
    hang(isHung) {
      const answers = waiting ?? [];
      waiting = isHung ? answers : null;
      if (!isHung) for (const answer of answers) answer();
    },
    close() {
      server.closeAllConnections();
      return new Promise((resolve) => server.close(() => resolve()));
    },
  };
}

/**
 * @param {string} path
 * @param {import('node:http').ServerResponse} response
 * @param {(status: number, type: string, text: string) => void} answer
 */
function serveFile(path, response, answer) {
  const file = path === '/dygraph.min.js' ? DYGRAPHS : join(PAGE, normalize(path));
  const type = TYPES[extname(file)];
  if (!type) {
    answer(404, 'text/plain', '');
    return;
  }
  const stream = createReadStream(file);
  stream.on('error', () => answer(404, 'text/plain', ''));
  stream.on('open', () => {
    response.writeHead(200, { ...HEADERS, 'Content-Type': `${type}; charset=utf-8` });
    stream.pipe(response);
  });
}
