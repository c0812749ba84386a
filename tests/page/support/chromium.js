// Debian's Chromium, or the one that CHROMIUM in the environment names.
import { chromium } from 'playwright-core';

/** A user's sandbox cannot be had as root, nor in a container that forbids namespaces. */
export const launchChromium = () =>
  chromium.launch({ executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', args: ['--no-sandbox'] });
