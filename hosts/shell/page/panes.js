/**
 * What the page knows of the nine panes: values and one function that makes the next ones of a piece of news. No page, no
 * library.
 *
 * A pane: { source, state, reason }
 *     source  null, or { kind: 'camera' | 'file', name, ... }
 *     state   'empty', 'starting', 'playing', 'lost', 'failed', 'ended'
 *     reason  why it failed or is lost, in words; else ''
 */
export const PANES = 9;

const EMPTY = { source: null, state: 'empty', reason: '' };

export const noPanes = () => Array.from({ length: PANES }, () => EMPTY);

function next(pane, news) {
  switch (news.type) {
    case 'asked':
      return { source: news.source, state: 'starting', reason: '' };
    case 'playing':
      return pane.source ? { ...pane, state: 'playing', reason: '' } : pane;
    case 'failed':
      return pane.source ? { ...pane, state: 'failed', reason: news.reason || 'The log of the library tells why.' } : pane;
    case 'lost':
      // What has failed stays so: a lost camera comes back by itself, a failed start does not.
      return pane.state === 'playing' || pane.state === 'lost' ? { ...pane, state: 'lost', reason: news.reason || '' } : pane;
    case 'ended':
      return pane.source && pane.source.kind === 'file' ? { ...pane, state: 'ended' } : pane;
    case 'stopped':
      return EMPTY;
    default:
      throw new Error(`Nothing is known of news called ${news.type}.`);
  }
}

/** The panes after a piece of news { type, pane, ... } of one of them. News of no pane change nothing. */
export function after(panes, news) {
  if (!(news.pane >= 0 && news.pane < panes.length)) return panes;
  return panes.map((pane, i) => (i === news.pane ? next(pane, news) : pane));
}

/** The panes in which a log-in's stream plays or is to play. */
export function panesOf(panes, { login, channel, stream }) {
  const plays = ({ source }) => source && source.login === login && source.channel === channel && source.stream === stream;
  return panes.map((pane, i) => (plays(pane) ? i : -1)).filter((i) => i >= 0);
}

/** The first pane without a source among those that are shown; else the selected one. */
export function paneFor(panes, shown, selected) {
  const free = panes.slice(0, shown).findIndex((pane) => !pane.source);
  return free >= 0 ? free : selected;
}

/** How a pane is, for people. */
export function stateText({ source, state, reason }) {
  const words = {
    empty: 'free',
    starting: 'starting …',
    playing: source && source.kind === 'camera' ? 'live' : 'playing',
    lost: 'lost',
    failed: 'cannot be shown',
    ended: 'at its end',
  }[state];
  return reason ? `${words}: ${reason}` : words;
}

/** What is written into a pane that shows nothing; '' for one that shows something, or is about to. */
export function paneNote(pane) {
  if (pane.state === 'empty') return 'Choose a camera, or play a file.';
  return pane.state === 'lost' || pane.state === 'failed' ? `${pane.source.name}: ${stateText(pane)}` : '';
}

/** Seconds as m:ss or h:mm:ss. */
export function clock(seconds) {
  const whole = Math.max(0, Math.floor(seconds || 0));
  const pad = (value) => String(value).padStart(2, '0');
  const hours = Math.floor(whole / 3600);
  const minutes = Math.floor(whole / 60) % 60;
  return hours > 0 ? `${hours}:${pad(minutes)}:${pad(whole % 60)}` : `${minutes}:${pad(whole % 60)}`;
}

/** An address without what is secret in it, to be shown. */
export function withoutSecrets(address) {
  // Up to the last @: passwords are written with one, too.
  return address.replace(/^([a-z]+:\/\/).*@/i, '$1').replace(/\?.*$/, '');
}
