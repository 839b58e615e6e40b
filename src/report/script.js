'use strict';
(() => {
  const root = document.documentElement;
  let timer = 0;

  const press = (button, down) => button.setAttribute('aria-pressed', String(down));
  const buttonOf = (what) => document.querySelector(`[data-do="${what}"]`);

  const flip = (before) => {
    root.classList.toggle('flipped', before);
    press(buttonOf('flip'), before);
  };
  const stopFlicker = () => {
    clearInterval(timer);
    timer = 0;
    press(buttonOf('flicker'), false);
  };
  const flipCard = (card) => {
    const before = card.classList.toggle('flippedCard');
    press(card.querySelector('[data-do="flipCard"]'), before);
  };

  const deeds = {
    flip: () => {
      stopFlicker();
      flip(!root.classList.contains('flipped'));
    },
    flicker: (button) => {
      if (timer) {
        stopFlicker();
        flip(false);
        return;
      }
      timer = setInterval(() => flip(!root.classList.contains('flipped')), 600);
      press(button, true);
    },
    contour: (button) => press(button, !root.classList.toggle('noOutline')),
    flipCard: (button) => flipCard(button.closest('.card')),
  };

  document.addEventListener('click', (event) => {
    const button = event.target.closest('[data-do]');
    if (button) deeds[button.dataset.do](button);
  });
  // A finger does not hover.
  document.addEventListener('pointerup', (event) => {
    const stage = event.pointerType === 'touch' && event.target.closest('.pictures .stage');
    if (stage) flipCard(stage.closest('.card'));
  });
})();
