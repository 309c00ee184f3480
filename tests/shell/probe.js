/**
 * Put into the page by the tests alone: evaluates what they send, on loopback, and tells its port in a file.
 * A page that is loaded anew has a new one.
 */
(() => {
  // The page keeps its video to itself; a test asks it for what only the library knows.
  const { VideoWindow } = require(process.env.PELLORA_NODE);
  const { open } = VideoWindow;
  VideoWindow.open = async (options) => {
    const video = await open.call(VideoWindow, options);
    if (options.page === window) window.testVideo = video;
    return video;
  };
  window.addEventListener('pagehide', () => { VideoWindow.open = open; });
  const server = require('http').createServer((request, response) => {
    let text = '';
    request.setEncoding('utf8');
    request.on('data', (part) => { text += part; });
    request.on('end', async () => {
      let answer;
      try {
        answer = { value: await (0, eval)(`(async () => (${text}))()`) };
      } catch (error) {
        answer = { error: `${error.message}\n${error.stack}` };
      }
      response.end(JSON.stringify(answer));
    });
  });
  const name = `${process.env.PELLORA_PROBE}-${new URLSearchParams(location.search).get('window') || 1}`;
  server.listen(0, '127.0.0.1', () => {
    // Whole or not at all: the test reads it at any moment.
    require('fs').writeFileSync(`${name}.new`, String(server.address().port));
    require('fs').renameSync(`${name}.new`, name);
  });
  window.addEventListener('pagehide', () => server.close());
})();
