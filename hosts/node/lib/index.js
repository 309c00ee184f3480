'use strict';
// Video windows for a page: what index.d.ts describes, over the add-on.

const { CURRENT_PANE, PANES, handleOf, lookUp, paneOf, whole } = require('./arguments.js');
const { cameras, clientSize, findWindow, load, loaded } = require('./binding.js');
const Camera = require('./camera.js');
const { PelloraError, later } = require('./errors.js');
const LastingEmitter = require('./lasting.js');
const rules = require('./rules.js');
const Starts = require('./starts.js');

const ONE = 0; // what the library answers to a call that went well: 1,
const ANYTHING = 1; // anything,
const NOT_NEGATIVE = 2; // 0 or more
const NO_PANE = -2;
const ALL_PANES = 255;
const MOST_CLIP_AREAS = 4;
const NO_EMBEDDING = 2;
const PANE_COUNTS = { 1: 1, 4: 4, 9: 9 };
const MODES = { renderWidget: 0, d3dWindow: 1, plain: NO_EMBEDDING };
const STREAMS = { main: 0, sub: 1, third: 2 };
const ORIGINS = { topLeft: 1, bottomLeft: 2 };
const ARROWS = { both: 0, a: 1, b: 2, none: 3 };

class VideoWindow extends LastingEmitter {
    /** Use VideoWindow.open. */
    constructor() {
        super();
        this._starts = new Starts();
        this._ruleTypes = new Map();
        this._leave = null;
    }

    static async open({ host, embed = 'plain', panes = 1, page = null } = {}) {
        const video = new VideoWindow();
        const mode = lookUp(MODES, embed, 'embed');
        lookUp(PANE_COUNTS, panes, 'the number of panes');
        const handle = handleOf(host);
        // Nothing can happen any more in windows whose hosts are gone; they take up room among the nine. Ahead of this one on
        // their thread, which nobody waits for here.
        LastingEmitter.listenedTo.filter((each) => !each._hasHost()).forEach((each) => each.close());
        await later(() => loaded().open(video, handle, mode));
        video._setLife(true);
        if (page !== null) {
            video._closeWith(page);
        }
        try {
            await video.split(panes);
        } catch (error) {
            await video.close();
            throw error;
        }
        return video;
    }

    get isOpen() {
        return this._lives;
    }

    /**
     * Stops what plays and takes the window off the screen; a second time it does nothing. Fails where too many calls wait
     * for the host window's thread.
     */
    async close() {
        if (!this._lives) {
            return;
        }
        this._setLife(false);
        if (this._leave !== null) {
            this._leave();
        }
        this._starts.endAll('the window was closed before its outcome');
        try {
            await later(() => loaded().close(this));
        } catch (error) {
            // With its host's thread it has ended, too.
            if (this._hasHost()) {
                throw error;
            }
        }
        this.emit('close');
    }

    // ---- the window ----

    async setGeometry({ x, y, width, height }) {
        const numbers = [x, y, width, height].map((n) => whole(Math.round(n), -0x80000000, 0x7FFFFFFF, 'a length'));
        await this._call('PELLORA_SetGeometry', ...numbers);
    }

    async setVisible(visible) {
        await this._call('PELLORA_SetVisible', visible ? 1 : 0);
    }

    /** Holes for what lies over the video; none closes them all. */
    async setClipAreas(areas) {
        if (areas.length > MOST_CLIP_AREAS) {
            throw new RangeError(`there are ${MOST_CLIP_AREAS} clip areas at most, not ${areas.length}`);
        }
        const record = Buffer.alloc(76);
        areas.forEach(({ x, y, width, height, radius = 0 }, i) => {
            [x, y, x + width, y + height].forEach((n, k) => record.writeInt32LE(Math.round(n), 16 * i + 4 * k));
            record.writeUInt16LE(Math.round(radius), 64 + 2 * i);
        });
        record.writeUInt16LE(areas.length, 72);
        await this._call('PELLORA_SetClipArea', record);
    }

    async split(panes) {
        await this._call('PELLORA_SplitScreen', lookUp(PANE_COUNTS, panes, 'the number of panes'));
    }

    async enterFullScreen() {
        await this._call('PELLORA_FullScreen');
    }

    async leaveFullScreen() {
        await this._call('PELLORA_NormalScreen');
    }

    async selectPane(pane) {
        await this._call('PELLORA_SetCurWnd', whole(pane, 0, PANES - 1, 'a pane'));
    }

    // ---- cameras ----

    /** Resolves when the stream begins; rejects with the device's reason. */
    async preview(camera, { channel = 1, stream = 'main', overlay = false, pane = 0 } = {}) {
        const requests = [{ camera, channel, stream, overlay, pane: paneOf({ pane }) }];
        const [outcome] = await this._start(requests, async ([request]) => {
            const record = Buffer.alloc(32);
            record.writeInt32LE(request.login, 0);
            record.writeUInt32LE(request.channel, 4);
            record.writeInt32LE(request.stream, 8);
            record.writeUInt8(request.overlay, 12);
            await this._paneCall('PELLORA_PreviewStream', { pane: request.pane }, record);
        });
        if (outcome.status === 'rejected') {
            throw outcome.reason;
        }
    }

    /** Several at once, in panes 0, 1, 2 and so on: an outcome for each, as of Promise.allSettled. */
    async previewAll(requests) {
        const numbered = requests.map(({ camera, channel = 1, stream = 'main', overlay = false, address = null }, pane) =>
            ({ camera, channel, stream, overlay, address, pane: whole(pane, 0, PANES - 1, 'a pane') }));
        return this._start(numbered, (all) => later(() => loaded().batch(this,
            all.map(({ login, channel, stream, overlay, address }) => [login, channel, stream, overlay, address]))));
    }

    async stopPreview(options) {
        const pane = paneOf(options);
        this._starts.end(pane === CURRENT_PANE ? [] : [pane], 'stopped before its outcome');
        await this._paneCall('PELLORA_StopPreviewStream', options);
    }

    async stopAllPreviews() {
        this._starts.endAll('stopped before its outcome');
        await this._call('PELLORA_StopAllPreviewStream');
    }

    /** Boxes and names of what cameras have found. */
    async showAnalysis(show) {
        await this._call('PELLORA_SetIntelData', show ? 1 : 0);
    }

    // ---- files ----

    async playFile(file, { loop = false, overlay = false, pane = 0 } = {}) {
        this._starts.end([paneOf({ pane })], 'a file took its place');
        await this._native((add) => add.playFile(this, paneOf({ pane }), String(file), loop ? 1 : 0, overlay ? 1 : 0));
    }

    async stopFile(options) {
        await this._paneCall('PELLORA_StopPreviewFile', options);
    }

    async play(options) {
        await this._paneCall('PELLORA_Play', options);
    }

    async pause(options) {
        await this._paneCall('PELLORA_Pause', options);
    }

    async resume(options) {
        await this._paneCall('PELLORA_Restore', options);
    }

    async faster(options) {
        await this._paneCall('PELLORA_Fast', options);
    }

    async slower(options) {
        await this._paneCall('PELLORA_Slow', options);
    }

    async nextPicture(options) {
        await this._paneCall('PELLORA_OneByOne', options);
    }

    async previousPicture(options) {
        await this._paneCall('PELLORA_OneByOneBack', options);
    }

    /** Seconds. */
    async seek(seconds, options) {
        await this._paneCall('PELLORA_SetPlayPos', options, whole(Math.floor(seconds), 0, 0xFFFFFFFF, 'a position'));
    }

    position(options) {
        return this._ask('PELLORA_GetPlayPos', options);
    }

    duration(options) {
        return this._ask('PELLORA_GetFileTime', options);
    }

    /** Of a file that need not play. */
    async fileDuration(file) {
        return (await this._one('PELLORA_GetFileTimeNoPriview', ANYTHING, NO_PANE, [String(file)])).result;
    }

    /** When the file was recorded, as { start, end }; null where that is not known. */
    async recordingTimes(options) {
        const { records } = await this._one('PELLORA_GetSystemFileTime', ANYTHING, paneOf(options),
            [Buffer.alloc(28), Buffer.alloc(28)]);
        const [start, end] = records.map(dateOf);
        return start === null ? null : { start, end };
    }

    /** When the picture on the screen was recorded; null where that is not known. */
    async recordingTime(options) {
        return dateOf((await this._one('PELLORA_GetSystemTime', ANYTHING, paneOf(options), [Buffer.alloc(28)])).records[0]);
    }

    // ---- picture and sound ----

    async pictureSize(options) {
        const { records } = await this._one('PELLORA_GetPictureSize', ONE, paneOf(options), [Buffer.alloc(8)]);
        return { width: records[0].readInt32LE(0), height: records[0].readInt32LE(4) };
    }

    /** A JPEG in a Buffer; part is { left, top, right, bottom } in thousandths. */
    capture(options = {}) {
        const { part = options.quality === undefined ? null : { left: 0, top: 0, right: 1000, bottom: 1000 },
            quality = 85 } = options;
        return this._native((add) => add.capture(this, paneOf(options),
            part === null ? null : [part.left, part.top, part.right, part.bottom].map((n) => whole(n, 0, 1000, 'an edge')),
            whole(quality, 1, 100, 'the quality')));
    }

    /** Thousandths; null shows all of the picture. */
    async setDisplayRegion(region, options) {
        const record = region === null ? null : Buffer.alloc(16);
        if (record !== null) {
            ['left', 'top', 'right', 'bottom'].forEach((edge, i) =>
                record.writeInt32LE(whole(region[edge], 0, 1000, 'an edge'), 4 * i));
        }
        await this._call('PELLORA_SetDisplayRegion', record, paneOf(options));
    }

    async openSound(options) {
        await this._paneCall('PELLORA_OpenSound', options);
    }

    async closeSound(options) {
        await this._paneCall('PELLORA_CloseSound', options);
    }

    /** 0 to 1. */
    async setVolume(volume, options) {
        if (!(volume >= 0 && volume <= 1)) {
            throw new RangeError(`a volume is a number from 0 to 1, not ${volume}`);
        }
        await this._paneCall('PELLORA_SetVolume', options, Math.round(volume * 65535));
    }

    async volume(options) {
        return await this._ask('PELLORA_GetVolume', options) / 65535;
    }

    // ---- rules ----

    async setOrigin(origin, options) {
        await this._call('PELLORA_SetOriginPos', lookUp(ORIGINS, origin, 'an origin'), paneOf(options));
    }

    async openOverlay(options) {
        await this._call('PELLORA_OpenDraw', paneOf(options));
    }

    async closeOverlay(options) {
        await this._call('PELLORA_CloseDraw', paneOf(options));
    }

    /** The number of a new rule: without a shape, the user draws it. */
    async createRule({ type, colour = '#ff0000', caption, points, finishEarly, limits = [], shape, unit, pane = 0 }) {
        const number = rules.typeNumber(type);
        const { result } = await this._one('PELLORA_CreateRule', NOT_NEGATIVE, NO_PANE, [number, ...rules.toColour(colour),
            rules.toExtension(type, { points, finishEarly, caption }), rules.toLimits(limits), paneOf({ pane })]);
        this._ruleTypes.set(`${pane}/${result}`, type);
        if (shape !== undefined) {
            await this.setRule(result, shape, { pane, unit });
        }
        return result;
    }

    /** unit: 'thousandths' or 'pixels' of the picture. */
    setRule(rule, shape, { pane = 0, unit = 'thousandths' } = {}) {
        const pixels = lookUp({ thousandths: false, pixels: true }, unit, 'a unit');
        const { record, first, words } = rules.toRecord(this._typeOf(pane, rule), shape);
        return this._native((add) => add.setRule(this, paneOf({ pane }), rule, record, first, pixels ? words : 0))
            .then(() => undefined);
    }

    async getRule(rule, { pane = 0, unit = 'thousandths' } = {}) {
        const pixels = lookUp({ thousandths: false, pixels: true }, unit, 'a unit');
        const type = this._typeOf(pane, rule);
        const [record, width, height] = await this._native((add) => add.getRule(this, paneOf({ pane }), rule));
        return rules.fromRecord(type, record, pixels ? width : 0, height);
    }

    async destroyRule(rule, { pane = 0 } = {}) {
        await this._call('PELLORA_DestroyRule', whole(rule, 0, 63, 'a rule'), paneOf({ pane }));
        this._ruleTypes.delete(`${pane}/${rule}`);
    }

    /** Of a pane, or of all. */
    async clearRules(options) {
        const pane = paneOf(options, ALL_PANES);
        await this._call('PELLORA_ClearRule', pane);
        [...this._ruleTypes.keys()].filter((key) => pane === ALL_PANES || key.startsWith(`${pane}/`))
            .forEach((key) => this._ruleTypes.delete(key));
    }

    async setArrows(rule, arrows, { pane = 0 } = {}) {
        await this._call('PELLORA_SetRuleArrowType', rule, lookUp(ARROWS, arrows, 'arrows'), paneOf({ pane }));
    }

    // ---- inside ----

    _hasHost() {
        return loaded().hasHost(this) === 1;
    }

    _native(call) {
        return this._lives ? later(() => call(loaded()))
            : Promise.reject(new PelloraError('VideoWindow', 'the video window is closed'));
    }

    async _one(name, expect, pane, values) {
        const [result, records] = await this._native((add) => add.call(this, name, expect, pane, values));
        return { result, records };
    }

    async _call(name, ...values) {
        await this._one(name, ONE, NO_PANE, values);
    }

    async _paneCall(name, options, ...values) {
        await this._one(name, ONE, paneOf(options), values);
    }

    async _ask(name, options) {
        return (await this._one(name, ANYTHING, paneOf(options), [])).result;
    }

    _typeOf(pane, rule) {
        const type = this._ruleTypes.get(`${pane}/${rule}`);
        if (type === undefined) {
            throw new PelloraError('VideoWindow', `pane ${pane} has no rule ${rule} of this window's`);
        }
        return type;
    }

    _closeWith(page) {
        // A page that is loaded anew goes without a collection of garbage.
        const close = () => {
            this.close();
        };
        page.addEventListener('unload', close);
        this._leave = () => page.removeEventListener('unload', close);
    }

    async _start(requests, begin) {
        const resolved = requests.map((request) => ({
            ...request,
            login: whole(request.camera instanceof Camera ? request.camera.login : request.camera, 0, 0x7FFFFFFF, 'a log-in'),
            channel: whole(request.channel, 1, 0x7FFFFFFF, 'a channel'),
            stream: lookUp(STREAMS, request.stream, 'a stream'),
            overlay: request.overlay ? 1 : 0,
        }));
        return this._starts.run(resolved, () => begin(resolved));
    }

    _on_status(pane, playing, login, channel, clicked) {
        const news = { pane, playing: playing === 1, login, channel, clicked: clicked === 1 };
        this._starts.onStatus(news);
        this.emit('status', news);
    }

    _onCamera(news) {
        this._starts.onCamera(news);
        this.emit('camera', news);
    }

    _on_end(pane) {
        this.emit('end', { pane });
    }

    _on_rule(pane, rule, typeNumber, state, record, width, height) {
        const type = rules.TYPES[typeNumber - 1];
        const full = Buffer.concat([record], 1040);
        this.emit('rule', { pane, rule, type, state: rules.STATES[state], shape: rules.fromRecord(type, full),
            pixels: width > 0 ? rules.fromRecord(type, full, width, height) : null });
    }
}

function dateOf(record) {
    const [year, month, day, hour, minute, second, millisecond] = Array.from({ length: 7 }, (_, i) =>
        record.readUInt32LE(4 * i));
    return year === 0 ? null : new Date(Date.UTC(year, month - 1, day, hour, minute, second, millisecond));
}

module.exports = { clientSize, findWindow, load, Camera, VideoWindow, PelloraError, cameras };
